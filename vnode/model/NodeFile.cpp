#include "vnode/model/NodeFile.h"

#include "common/RegularFile.h"
#include "vnode/model/XmlElement.h"
#include "wire/AddressText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <libxml/parser.h>
#include <limits>
#include <memory>
#include <sstream>

namespace vnode {

namespace {

constexpr std::uint32_t maxU32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t fileLimit = 64U << 20U;

struct TypeRow
{
    std::string_view name;
    Interfaces::interfaceType type;
};

using enum Interfaces::interfaceType;
constexpr std::array<TypeRow, 8> typeRows{{
    {"eth", eth},
    {"subscriber", subscriber},
    {"pvc", pvc},
    {"pon", pon},
    {"onu", onu},
    {"gem", gem},
    {"management", management},
    {"lag", lag},
}};

MacAddress parseMac(const XmlElement& element, const std::string& text)
{
    const auto mac = wire::readMac(text);
    if (!mac)
        element.fail("\"" + text + "\" is no MAC, which looks like 02:00:00:00:00:01");
    return *mac;
}

std::uint32_t parseIpv4(const XmlElement& element, const std::string& text)
{
    const auto address = wire::readIpv4(text);
    if (!address)
        element.fail("\"" + text + "\" is no IPv4 address");
    return *address;
}

std::string checkIpv6(const XmlElement& element, const std::string& text)
{
    if (!wire::readIpv6(text))
        element.fail("\"" + text + "\" is no IPv6 address");
    return text;
}

/// Reads the elements into a description and keeps the line of each for later complaints.
class Reader
{
public:
    explicit Reader(const std::string& file) : fileName(file) {}

    NodeDescription read(xmlDoc* document)
    {
        XmlElement root(xmlDocGetRootElement(document), fileName);
        if (root.name() != "node")
            root.fail("the root element is <" + std::string(root.name()) + ">, not <node>");
        rootLine = root.line();
        readNode(root);
        for (XmlElement& child : root.children()) {
            if (child.name() == "vlan")
                readVlan(child);
            else if (child.name() == "interface")
                readInterface(child, nullptr);
            else if (child.name() == "port")
                readPort(child);
            else
                child.fail("<node> holds <vlan>, <interface> and <port>, no <" + std::string(child.name()) +
                           ">");
        }
        if (const auto problem = findProblem(description))
            throw NodeFileError(fileName, lineOf(*problem), problem->reason);
        return std::move(description);
    }

private:
    void readNode(XmlElement& element)
    {
        NodeFacts& facts = description.facts;
        if (const auto mac = element.text("mac"))
            facts.mac = parseMac(element, *mac);
        if (const auto ipv4 = element.text("ipv4"))
            facts.ipv4 = parseIpv4(element, *ipv4);
        if (const auto ipv6 = element.text("ipv6"))
            facts.ipv6 = checkIpv6(element, *ipv6);
        if (const auto gateway = element.text("ipv6Gateway"))
            facts.ipv6Gateway = checkIpv6(element, *gateway);
        facts.boardType = static_cast<int>(element.number("boardType", 0, 255).value_or(0));
        facts.boardName = element.text("boardName").value_or("");
        if (const auto slot = element.number("slot", 0, 255))
            facts.slot = static_cast<std::uint8_t>(*slot);
        for (const std::string& word : element.words("options"))
            facts.options.insert(parseOption(element, word));
        if (const auto aging = element.number("macAging", 1, 1'000'000))
            description.macAging = std::chrono::seconds(*aging);
        if (const auto limit = element.number("macLimit", 0, 1'000'000))
            description.macLimit = *limit;
        element.finish();
    }

    static int parseOption(const XmlElement& element, const std::string& word)
    {
        int option = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), option);
        if (error != std::errc{} || end != word.data() + word.size() || option < 0)
            element.fail("\"" + word + "\" is no number of a deployment option");
        return option;
    }

    void readVlan(XmlElement& element)
    {
        const VlanSet ids = element.needVlans("id");
        const auto name = element.text("name");
        if (name && ids.count() > 1)
            element.fail("a name belongs to a single VLAN");
        element.finish();
        refuseChildren(element);
        for (std::size_t id = ids._Find_first(); id < ids.size(); id = ids._Find_next(id)) {
            description.vlans.push_back({static_cast<std::uint16_t>(id), name.value_or("")});
            vlanLines.push_back(element.line());
        }
    }

    /// An interface inside another one has it as parent and starts from its position.
    void readInterface(XmlElement& element, const Interfaces::Interface* outer)
    {
        Interfaces::Interface row;
        if (outer != nullptr) {
            row.parentId = outer->id;
            row.position = outer->position;
        }
        row.id = element.needNumber("id", 1, maxU32);
        row.name = element.needText("name");
        row.linuxName = element.text("linux").value_or(row.name);
        row.type = parseType(element);
        row.description = element.text("description").value_or("");
        if (const auto parent = element.number("parent", 1, maxU32)) {
            if (outer != nullptr && outer->id != *parent)
                element.fail("\"parent\" is not the interface around this one");
            row.parentId = *parent;
        }
        readPosition(element, row.position);
        element.finish();
        description.interfaces.push_back(row);
        interfaceLines.push_back(element.line());
        for (XmlElement& child : element.children()) {
            if (child.name() != "interface")
                child.fail("<interface> holds <interface>, no <" + std::string(child.name()) + ">");
            readInterface(child, &row);
        }
    }

    static Interfaces::interfaceType parseType(XmlElement& element)
    {
        const std::string text = element.needText("type");
        const auto row = std::ranges::find(typeRows, text, &TypeRow::name);
        if (row == typeRows.end())
            element.fail("\"" + text +
                         "\" is no interface type (eth, subscriber, pvc, pon, onu, gem, management, lag)");
        return row->type;
    }

    static void readPosition(XmlElement& element, Interfaces::slot_port_s& position)
    {
        position.slot.number = element.number("panel", 0, maxU32).value_or(position.slot.number);
        position.port = element.number("port", 0, maxU32).value_or(position.port);
        const auto onuNumber = element.number("onu", 0, maxU32);
        const auto pvcNumber = element.number("pvc", 0, maxU32);
        if (onuNumber && pvcNumber)
            element.fail("\"onu\" and \"pvc\" are one number, so only one of them can be given");
        position.intf = onuNumber ? *onuNumber : pvcNumber.value_or(position.intf);
        position.gem = element.number("gem", 0, maxU32).value_or(position.gem);
        if (const auto slot = element.text("slotText")) {
            if (slot->size() > sizeof(position.slot.text))
                element.fail("\"slotText\" has more than 10 characters");
            std::ranges::fill(position.slot.text, '\0');
            std::ranges::copy(*slot, position.slot.text);
        }
    }

    void readPort(XmlElement& element)
    {
        PortDescription port;
        port.device = element.needText("device");
        port.internal = element.flag("internal");
        if (const auto tpid = element.text("tpid"))
            port.tpid = parseTpid(element, *tpid);
        std::vector<XmlElement> children = element.children();
        if (children.empty())
            port.attachments.push_back(readAttachment(element));
        for (XmlElement& child : children) {
            if (child.name() != "carries")
                child.fail("<port> holds <carries>, no <" + std::string(child.name()) + ">");
            port.attachments.push_back(readAttachment(child));
            child.finish();
            refuseChildren(child);
        }
        element.finish();
        description.ports.push_back(std::move(port));
        portLines.push_back(element.line());
    }

    static std::uint16_t parseTpid(const XmlElement& element, const std::string& text)
    {
        if (text == "0x8100")
            return wire::typeCustomerTag;
        if (text == "0x88A8" || text == "0x88a8")
            return wire::typeServiceTag;
        element.fail("\"tpid\" is \"" + text + "\", but needs 0x8100 or 0x88A8");
    }

    static Attachment readAttachment(XmlElement& element)
    {
        Attachment attachment;
        attachment.interfaceId = element.needNumber("interface", 1, maxU32);
        if (const auto vlan = element.number("untagged", vlanIdMin, vlanIdMax))
            attachment.untagged = static_cast<std::uint16_t>(*vlan);
        attachment.tagged = element.vlans("tagged").value_or(VlanSet{});
        return attachment;
    }

    static void refuseChildren(const XmlElement& element)
    {
        for (const XmlElement& child : element.children())
            child.fail("<" + std::string(element.name()) + "> holds no elements");
    }

    [[nodiscard]] long lineOf(const Problem& problem) const
    {
        switch (problem.section) {
        case Section::node:
            return rootLine;
        case Section::vlan:
            return vlanLines.at(problem.index);
        case Section::interface:
            return interfaceLines.at(problem.index);
        case Section::port:
            return portLines.at(problem.index);
        }
        return rootLine;
    }

    std::string fileName;
    NodeDescription description;
    long rootLine = 0;
    std::vector<long> vlanLines;
    std::vector<long> interfaceLines;
    std::vector<long> portLines;
};

std::string complaint(const std::string& file, long line, const std::string& reason)
{
    return line > 0 ? file + ":" + std::to_string(line) + ": " + reason : file + ": " + reason;
}

std::string withoutLineEnd(std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

/// The parser's first complaint. Later ones are consequences of it and name other lines.
struct FirstComplaint
{
    int line = 0;
    std::string reason = "no XML";
    bool told = false;

    /// @p context is the parser, whose private pointer leads to the object.
    static void keep(void* context, xmlError* error)
    {
        auto* first = static_cast<FirstComplaint*>(static_cast<xmlParserCtxt*>(context)->_private);
        if (first->told || error->message == nullptr)
            return;
        *first = {error->line, withoutLineEnd(error->message), true};
    }
};

} // namespace

NodeFileError::NodeFileError(const std::string& file, long errorLine, const std::string& reason)
    : std::runtime_error(complaint(file, errorLine, reason)), line(errorLine)
{}

NodeDescription parseNode(std::string_view xml, const std::string& name)
{
    if (xml.size() > fileLimit)
        throw NodeFileError(name, 0, "too large");
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                              &xmlFreeParserCtxt);
    if (!parser)
        throw NodeFileError(name, 0, "no memory");
    FirstComplaint first;
    parser->_private = &first;
    parser->sax->serror = &FirstComplaint::keep;
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES;
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlCtxtReadMemory(parser.get(), xml.data(), static_cast<int>(xml.size()), name.c_str(), nullptr,
                          options),
        &xmlFreeDoc);
    if (!document)
        throw NodeFileError(name, first.line, first.reason);
    // Entities come from a document type only; without one there is nothing to expand or to fetch.
    if (document->intSubset != nullptr)
        throw NodeFileError(name, 1, "a document type declaration has no place in a node file");
    return Reader(name).read(document.get());
}

NodeDescription readNodeFile(const std::string& path)
{
    if (!regularFileSize(path))
        throw NodeFileError(path, 0, "is not there, or is no file");
    const std::ifstream file(path, std::ios::binary);
    if (!file.is_open())
        throw NodeFileError(path, 0, "cannot be read");
    std::ostringstream text;
    text << file.rdbuf();
    return parseNode(text.view(), path);
}

} // namespace vnode
