#include "storage/StorageMng.h"

#include "common/RegularFile.h"
#include "storage/XmlText.h"

#include <iostream>
#include <optional>
#include <vector>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlversion.h>

namespace Storage {

namespace {

void report(const std::string& text) { std::cout << text << '\n' << std::flush; }

/// A FIFO or a device would block the parser or never end; a huge file would eat the memory of the board.
bool isReadableSettingsFile(const std::string& file)
{
    const auto size = regularFileSize(file);
    return size && *size <= largestSettingsFile;
}

const char* asText(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

/// A name with a colon is read as a name space and another name.
bool isPlainName(const xmlChar* name) { return isXmlText(asText(name)) && xmlValidateNCName(name, 0) == 0; }

/// Says why a node could not be read again after it was written: XML does not allow most control characters
/// and broken UTF-8, not even as references.
std::optional<std::string> faultOf(const xmlNode& node)
{
    const bool hasName = node.type == XML_ELEMENT_NODE || node.type == XML_ATTRIBUTE_NODE;
    if (hasName && !isPlainName(node.name))
        return "a name that XML does not allow";
    if (node.type == XML_TEXT_NODE && !isXmlText(asText(node.content)))
        return std::string("control characters or broken UTF-8 in a value of ") + asText(node.parent->name);
    return std::nullopt;
}

std::optional<std::string> firstFault(xmlNode* top)
{
    std::vector<const xmlNode*> toVisit{top};
    const auto visitList = [&toVisit](const xmlNode* first) {
        for (const xmlNode* each = first; each != nullptr; each = each->next)
            toVisit.push_back(each);
    };
    while (!toVisit.empty()) {
        const xmlNode& node = *toVisit.back();
        toVisit.pop_back();
        if (auto fault = faultOf(node))
            return fault;
        if (node.type == XML_ELEMENT_NODE) {
            // An attribute begins with the same fields as any other node.
            visitList(reinterpret_cast<const xmlNode*>(node.properties));
            visitList(node.children);
        } else if (node.type == XML_ATTRIBUTE_NODE) {
            visitList(node.children);
        }
    }
    return std::nullopt;
}

/// The document as a file has it, indented, in UTF-8; nothing when it could not be read again.
std::optional<std::string> contentOf(xmlDoc* doc)
{
    if (const auto fault = firstFault(xmlDocGetRootElement(doc))) {
        report("StorageMng::save(): " + *fault);
        return std::nullopt;
    }
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc, &text, &size, "UTF-8", 1);
    const OwnedXmlText owned(text);
    if (!owned || size > largestSettingsFile) {
        report("StorageMng::save(): the document is too large");
        return std::nullopt;
    }
    return std::string(asText(text), static_cast<std::size_t>(size));
}

} // namespace

StorageMng::StorageMng()
{
    xmlCheckVersion(20910);
    doc = xmlNewDoc(asXml("1.0"));
    root = xmlNewNode(nullptr, asXml("Configuration"));
    xmlDocSetRootElement(doc, root);
}

StorageMng::~StorageMng() { drop(); }

void StorageMng::drop()
{
    if (doc == nullptr)
        return;
    xmlFreeDoc(doc);
    xmlCleanupParser();
    doc = nullptr;
    root = nullptr;
}

bool StorageMng::load(const std::string& file)
{
    drop();
    // Entities are not substituted and external ones not fetched; the parser's own limits on depth, text
    // length and entity growth stay on (no XML_PARSE_HUGE), so that a hostile file ends in an error.
    if (isReadableSettingsFile(file))
        doc = xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET);
    if (doc == nullptr) {
        report("StorageMng::load(): could not parse file " + file);
        return false;
    }
    root = xmlDocGetRootElement(doc);
    if (root == nullptr) {
        report("StorageMng::load(): root = 0 ");
        drop();
        return false;
    }
    return true;
}

bool StorageMng::save(const std::string& file)
{
    if (doc == nullptr) {
        report("StorageMng::save(): there are no document to save");
        return false;
    }
    const auto content = contentOf(doc);
    if (!content || !replaceFile(file, *content)) {
        // "filen" and no newline: an old slip. Programs that read this output look for it, so it stays.
        std::cout << "StorageMng::save(): error during saving the xml filen" << std::flush;
        return false;
    }
    report("StorageMng::save(): Success! " + std::to_string(content->size()) + "Bytes was written.");
    return true;
}

boost::shared_ptr<Setting> StorageMng::getRoot(const std::string& name) const
{
    if (doc == nullptr) {
        report("StorageMng::getRoot(): there are no document loaded yet");
        return {};
    }
    if (root == nullptr) {
        report("StorageMng::getRoot(): there are no root node in the document!");
        return {};
    }
    return childElement(root, name);
}

boost::shared_ptr<Setting> StorageMng::addRoot(const std::string& name)
{
    if (doc == nullptr) {
        report("StorageMng::addRoot(): there are no document to add root");
        return {};
    }
    if (root == nullptr) {
        report("StorageMng::addRoot(): there are no root node in the document!");
        return {};
    }
    xmlNode* child = xmlNewChild(root, nullptr, asXml(name), nullptr);
    if (child == nullptr) {
        report("StorageMng::addRoot(): error during adding " + name + " to the document!");
        return {};
    }
    return boost::shared_ptr<Setting>(new Setting(child));
}

} // namespace Storage
