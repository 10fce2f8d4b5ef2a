#pragma once

#include "storage/Setting.h"

#include <memory>
#include <string>

#include <boost/shared_ptr.hpp>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>

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
