#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

struct _xmlNode; // NOLINT(bugprone-reserved-identifier): the name of libxml2

namespace Storage {

/**
 * A handle on one XML element: values are its attributes, sections its child elements. It owns nothing; the
 * element belongs to the document of a StorageMng and is valid as long as that. An absent element is answered
 * by a null shared_ptr. Operations on an empty Setting say so on standard output and answer nothing.
 */
class Setting
{
public:
    Setting() = default;
    explicit Setting(_xmlNode* element) : node(element) {}

    /// Text of the attribute; empty when there is none.
    [[nodiscard]] std::string getValue(const std::string& name) const;

    /// Adds an attribute. One of that name that is there already stays, and goes on being the one that is
    /// read.
    void setValue(const std::string& name, const std::string& value);

    /// First child element of that name, or null.
    [[nodiscard]] boost::shared_ptr<Setting> getSubSetting(const std::string& name) const;

    /// Next sibling element of any name, or null.
    [[nodiscard]] boost::shared_ptr<Setting> getNext() const;

    /// Appends a child element; null on failure.
    boost::shared_ptr<Setting> addSubSetting(const std::string& name);

private:
    _xmlNode* node = nullptr;
};

} // namespace Storage
