#include "support/NodeBuilder.h"

#include "common/Clock.h"

#include <stdexcept>
#include <utility>

namespace test {

using vnode::Node;

TestNode::TestNode(const vnode::NodeDescription& description)
    : access(std::make_shared<platform::virtualNode::InProcessNode>(description))
{
    platform::virtualNode::use(access);
}

TestNode::~TestNode() { platform::virtualNode::use(nullptr); }

std::vector<vnode::DriverCall> TestNode::driverCalls() const
{
    return with([](Node& node) {
        const auto& calls = node.driver().journal();
        return std::vector(calls.begin(), calls.end());
    });
}

std::vector<std::string> TestNode::notes() const
{
    return with([](Node& node) { return std::vector(node.notes().begin(), node.notes().end()); });
}

vnode::Decision TestNode::receive(const std::string& device, std::vector<std::uint8_t> frame)
{
    bytes = std::move(frame);
    return with([&](Node& node) {
        vnode::Decision decision;
        const auto number = node.bridge().ports().findDevice(device);
        if (!number)
            throw std::invalid_argument("no device " + device);
        node.bridge().receive(*number, bytes, Clock::steady(), decision);
        return decision;
    });
}

NodeBuilder& NodeBuilder::interface(std::uint32_t id, Interfaces::interfaceType type, const std::string& name,
                                    std::uint32_t parentId)
{
    Interfaces::Interface row;
    row.id = id;
    row.type = type;
    row.name = name;
    row.linuxName = "if" + std::to_string(id);
    row.parentId = parentId;
    node.interfaces.push_back(row);
    return *this;
}

NodeBuilder& NodeBuilder::at(std::uint32_t panel, std::uint32_t port, std::uint32_t intf, std::uint32_t gem)
{
    Interfaces::slot_port_s& position = node.interfaces.back().position;
    position.slot.number = panel;
    position.port = port;
    position.intf = intf;
    position.gem = gem;
    return *this;
}

NodeBuilder& NodeBuilder::trunk(const std::string& device, std::uint32_t interfaceId,
                                std::initializer_list<std::uint16_t> vlans)
{
    vnode::Attachment attachment;
    attachment.interfaceId = interfaceId;
    for (const std::uint16_t vlan : vlans)
        attachment.tagged.set(vlan);
    vnode::PortDescription port;
    port.device = device;
    port.attachments.push_back(attachment);
    node.ports.push_back(port);
    return *this;
}

const vnode::NodeDescription& NodeBuilder::describe() const
{
    if (const auto problem = vnode::findProblem(node))
        throw std::invalid_argument(problem->reason);
    return node;
}

} // namespace test
