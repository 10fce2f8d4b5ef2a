#include "platform/virtual/InProcessNode.h"

#include "common/Clock.h"

namespace platform::virtualNode {

PictureReader InProcessNode::picture() { return {std::shared_lock(mutex), node.picture()}; }

int InProcessNode::addInterface(const Interfaces::Interface& row)
{
    return withNode([&](vnode::Node& model) { return model.addInterface(row); });
}

int InProcessNode::renameInterface(std::uint32_t id, const std::string& name)
{
    return withNode([&](vnode::Node& model) { return model.renameInterface(id, name); });
}

int InProcessNode::setInterfaceParent(std::uint32_t id, std::uint32_t parentId)
{
    return withNode([&](vnode::Node& model) { return model.setInterfaceParent(id, parentId); });
}

int InProcessNode::setInterfacePosition(std::uint32_t id, const Interfaces::slot_port_s& position)
{
    return withNode([&](vnode::Node& model) { return model.setInterfacePosition(id, position); });
}

int InProcessNode::describeInterface(std::uint32_t id, const std::string& text)
{
    return withNode([&](vnode::Node& model) { return model.describeInterface(id, text); });
}

int InProcessNode::markMacVlans(const zomacTableMacPort& key, zomacTableVlanBitmap& bitmap)
{
    return withNode([&](vnode::Node& model) { return model.markMacVlans(key, Clock::steady(), bitmap); });
}

int InProcessNode::createPseudoDevice(const std::string& name)
{
    return withNode([&](vnode::Node& model) { return model.createPseudoDevice(name); });
}

int InProcessNode::openControl()
{
    return withNode([](vnode::Node& model) { return model.openControl(); });
}

vnode::DriverReply InProcessNode::driverOpen(const std::string& path, int flags)
{
    return withNode([&](vnode::Node& model) { return model.driver().open(path, flags); });
}

vnode::DriverReply InProcessNode::driverIoctl(int handle, unsigned long request,
                                              std::span<std::uint8_t> record)
{
    return withNode([&](vnode::Node& model) { return model.driver().ioctl(handle, request, record); });
}

vnode::DriverReply InProcessNode::driverWrite(int handle, std::span<const std::uint8_t> data)
{
    return withNode([&](vnode::Node& model) { return model.driver().write(handle, data); });
}

vnode::DriverReply InProcessNode::driverClose(int handle)
{
    return withNode([&](vnode::Node& model) { return model.driver().close(handle); });
}

void InProcessNode::note(const std::string& text)
{
    withNode([&](vnode::Node& model) { model.note(text); });
}

int InProcessNode::readFault(vnode::Operation operation)
{
    if (!hasFaults)
        return 0;
    return withNode([&](vnode::Node& model) { return model.faults().take(operation); });
}

} // namespace platform::virtualNode
