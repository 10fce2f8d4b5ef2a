#include "storage/Setting.h"

#include "storage/XmlText.h"

#include <algorithm>
#include <iostream>

#include <libxml/tree.h>

namespace Storage {

namespace {
bool refusedAsEmpty(const _xmlNode* node, const char* operation)
{
    if (node != nullptr)
        return false;
    std::cout << "Setting::" << operation << "(): node = 0\n" << std::flush;
    return true;
}
} // namespace

std::string Setting::getValue(const std::string& name) const
{
    if (refusedAsEmpty(node, "getValue"))
        return {};
    const OwnedXmlText text(xmlGetProp(node, asXml(name)));
    return text ? reinterpret_cast<const char*>(text.get()) : std::string();
}

void Setting::setValue(const std::string& name, const std::string& value)
{
    if (refusedAsEmpty(node, "setValue"))
        return;
    // A text of libxml2 ends at its first zero byte. Another control character takes the byte's place, so
    // that save() refuses the value instead of writing half of it.
    std::string text = value;
    std::ranges::replace(text, '\0', '\1');
    xmlNewProp(node, asXml(name), asXml(text));
}

boost::shared_ptr<Setting> Setting::getSubSetting(const std::string& name) const
{
    if (refusedAsEmpty(node, "getSubSetting"))
        return {};
    return childElement(node, name);
}

boost::shared_ptr<Setting> Setting::getNext() const
{
    if (refusedAsEmpty(node, "getNext"))
        return {};
    xmlNode* next = xmlNextElementSibling(node);
    return boost::shared_ptr<Setting>(next != nullptr ? new Setting(next) : nullptr);
}

boost::shared_ptr<Setting> Setting::addSubSetting(const std::string& name)
{
    if (refusedAsEmpty(node, "addSubSetting"))
        return {};
    xmlNode* child = xmlNewChild(node, nullptr, asXml(name), nullptr);
    if (child == nullptr) {
        std::cout << "Setting::addSubSetting(): error during adding " << name << " to the node as child!\n"
                  << std::flush;
        return {};
    }
    return boost::shared_ptr<Setting>(new Setting(child));
}

} // namespace Storage
