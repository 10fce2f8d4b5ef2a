#include "storage/StorageMng.h"

#include "common/RegularFile.h"
#include "storage/XmlText.h"

#include <iostream>

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
    const int count = xmlSaveFormatFileEnc(file.c_str(), doc, "UTF-8", 1);
    if (count == -1) {
        // "filen" and no newline: a slip of long ago that readers of the output match, so it stays.
        std::cout << "StorageMng::save(): error during saving the xml filen" << std::flush;
        return false;
    }
    report("StorageMng::save(): Success! " + std::to_string(count) + "Bytes was written.");
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
