#pragma once

#include "storage/Setting.h"

#include <array>
#include <cstring>
#include <memory>
#include <string>

#include <boost/shared_ptr.hpp>
#include <libxml/chvalid.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>
#include <libxml/xmlstring.h>

/// What the files of this room share about libxml2.
namespace Storage {

struct XmlTextDeleter
{
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using OwnedXmlText = std::unique_ptr<xmlChar, XmlTextDeleter>;

inline const xmlChar* asXml(const std::string& text)
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// Whether XML 1.0 has a place for every character: well-formed UTF-8 and, of the control characters, only
/// tab, line feed and carriage return.
inline bool isXmlText(const char* text)
{
    constexpr std::array<int, 5> leastOfSize{0, 0, 0x80, 0x800,
                                             0x10000}; // longer forms of a character than needed are broken
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    if (xmlCheckUTF8(at) == 0) // the function below does not check the first byte
        return false;
    for (auto left = static_cast<int>(std::strlen(text)); left > 0;) {
        int size = left;
        const int character = xmlGetUTF8Char(at, &size);
        if (character < leastOfSize[static_cast<std::size_t>(size)] || xmlIsCharQ(character) == 0)
            return false;
        at += size;
        left -= size;
    }
    return true;
}

/// First child element of that name, or null.
inline boost::shared_ptr<Setting> childElement(xmlNode* parent, const std::string& name)
{
    for (xmlNode* child = xmlFirstElementChild(parent); child != nullptr;
         child = xmlNextElementSibling(child)) {
        if (xmlStrEqual(child->name, asXml(name)) != 0)
            return boost::shared_ptr<Setting>(new Setting(child));
    }
    return {};
}

} // namespace Storage
