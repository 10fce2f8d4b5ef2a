#include "vnode/model/XmlElement.h"

#include <charconv>
#include <memory>

namespace vnode {

namespace {

std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t low, std::uint32_t high)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < low || value > high)
        return std::nullopt;
    return value;
}

std::vector<std::string> split(std::string_view text)
{
    constexpr std::string_view separators = " ,\t\n";
    std::vector<std::string> parts;
    std::size_t from = text.find_first_not_of(separators);
    while (from != std::string_view::npos) {
        const std::size_t to = text.find_first_of(separators, from);
        parts.emplace_back(text.substr(from, to - from));
        from = to == std::string_view::npos ? to : text.find_first_not_of(separators, to);
    }
    return parts;
}

/// "20" or "20-29" into @p set; false for anything else.
bool addVlans(std::string_view text, VlanSet& set)
{
    const std::size_t dash = text.find('-');
    const auto first = parseNumber(text.substr(0, dash), vlanIdMin, vlanIdMax);
    const auto last =
        dash == std::string_view::npos ? first : parseNumber(text.substr(dash + 1), vlanIdMin, vlanIdMax);
    if (!first || !last || *last < *first)
        return false;
    for (std::uint32_t vlan = *first; vlan <= *last; ++vlan)
        set.set(vlan);
    return true;
}

} // namespace

std::vector<XmlElement> XmlElement::children() const
{
    std::vector<XmlElement> found;
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE)
            found.emplace_back(child, fileName);
        else if (child->type != XML_COMMENT_NODE && xmlIsBlankNode(child) == 0)
            fail("<" + std::string(name()) + "> holds text or the like, only elements belong there");
    }
    return found;
}

std::optional<std::string> XmlElement::text(const char* attribute)
{
    known.insert(attribute);
    const auto* xmlName = reinterpret_cast<const xmlChar*>(attribute);
    const std::unique_ptr<xmlChar, decltype(xmlFree)> value(xmlGetNoNsProp(node, xmlName), xmlFree);
    if (!value)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(value.get()));
}

std::string XmlElement::needText(const char* attribute)
{
    auto value = text(attribute);
    if (!value)
        fail("<" + std::string(name()) + "> lacks \"" + attribute + "\"");
    return *std::move(value);
}

std::optional<std::uint32_t> XmlElement::number(const char* attribute, std::uint32_t low, std::uint32_t high)
{
    const auto value = text(attribute);
    if (!value)
        return std::nullopt;
    const auto parsed = parseNumber(*value, low, high);
    if (!parsed)
        failAttribute(attribute, *value,
                      "a number from " + std::to_string(low) + " to " + std::to_string(high));
    return parsed;
}

std::uint32_t XmlElement::needNumber(const char* attribute, std::uint32_t low, std::uint32_t high)
{
    if (!text(attribute))
        fail("<" + std::string(name()) + "> lacks \"" + attribute + "\"");
    return *number(attribute, low, high);
}

bool XmlElement::flag(const char* attribute)
{
    const auto value = text(attribute);
    if (!value || *value == "no")
        return false;
    if (*value != "yes")
        failAttribute(attribute, *value, "\"yes\" or \"no\"");
    return true;
}

std::optional<VlanSet> XmlElement::vlans(const char* attribute)
{
    const auto value = text(attribute);
    if (!value)
        return std::nullopt;
    VlanSet set;
    for (const std::string& part : split(*value))
        if (!addVlans(part, set))
            failAttribute(attribute, part, "a VLAN id from 1 to 4094, or a range such as 20-29");
    if (set.none())
        failAttribute(attribute, *value, "at least one VLAN id");
    return set;
}

VlanSet XmlElement::needVlans(const char* attribute)
{
    const auto set = vlans(attribute);
    if (!set)
        fail("<" + std::string(name()) + "> lacks \"" + attribute + "\"");
    return *set;
}

std::vector<std::string> XmlElement::words(const char* attribute)
{
    const auto value = text(attribute);
    return value ? split(*value) : std::vector<std::string>{};
}

void XmlElement::finish() const
{
    for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        const std::string attributeName = reinterpret_cast<const char*>(attribute->name);
        if (!known.contains(attributeName))
            fail("<" + std::string(name()) + "> knows no \"" + attributeName + "\"");
    }
}

void XmlElement::fail(const std::string& reason) const { throw NodeFileError(fileName, line(), reason); }

void XmlElement::failAttribute(const char* attribute, const std::string& value,
                               const std::string& wanted) const
{
    fail(std::string("\"") + attribute + "\" is \"" + value + "\", but needs " + wanted);
}

} // namespace vnode
