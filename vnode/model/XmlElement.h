#pragma once

#include "vnode/model/NodeFile.h"
#include "vnode/model/Types.h"

#include <cstdint>
#include <libxml/tree.h>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vnode {

/// One element of the node file. Reading an attribute takes note of it, so that finish() can name one that
/// nobody knows. Everything throws NodeFileError with the element's line.
class XmlElement
{
public:
    XmlElement(xmlNode* element, const std::string& file) : node(element), fileName(file) {}

    [[nodiscard]] std::string_view name() const { return reinterpret_cast<const char*>(node->name); }
    [[nodiscard]] long line() const { return xmlGetLineNo(node); }

    /// The elements inside; text or anything else but comments is refused.
    [[nodiscard]] std::vector<XmlElement> children() const;

    [[nodiscard]] std::optional<std::string> text(const char* attribute);
    [[nodiscard]] std::string needText(const char* attribute);
    [[nodiscard]] std::optional<std::uint32_t> number(const char* attribute, std::uint32_t low,
                                                      std::uint32_t high);
    [[nodiscard]] std::uint32_t needNumber(const char* attribute, std::uint32_t low, std::uint32_t high);
    [[nodiscard]] bool flag(const char* attribute);                    ///< "yes" or "no"; absent: no
    [[nodiscard]] std::optional<VlanSet> vlans(const char* attribute); ///< "10 20-29"
    [[nodiscard]] VlanSet needVlans(const char* attribute);
    [[nodiscard]] std::vector<std::string> words(const char* attribute); ///< split at blanks and commas

    /// Refuses attributes that were not read.
    void finish() const;

    [[noreturn]] void fail(const std::string& reason) const;

private:
    [[noreturn]] void failAttribute(const char* attribute, const std::string& value,
                                    const std::string& wanted) const;

    xmlNode* node;
    std::string fileName;
    std::set<std::string, std::less<>> known;
};

} // namespace vnode
