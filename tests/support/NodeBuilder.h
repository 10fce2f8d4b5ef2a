#pragma once

#include "platform/virtual/InProcessNode.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A node in this process that platform calls go to as long as this object lives.
class TestNode
{
public:
    explicit TestNode(const vnode::NodeDescription& description);
    ~TestNode();
    TestNode(const TestNode&) = delete;
    TestNode& operator=(const TestNode&) = delete;

    template <typename Work>
    decltype(auto) with(Work&& work) const
    {
        return access->withNode(std::forward<Work>(work));
    }

    // Faults: calls of the kind fail with the errno, the next @p times of them or all.
    void failing(vnode::Operation operation, int error, unsigned times = vnode::Fault::always)
    {
        failing({operation, error, 0, times, "", 0});
    }
    void failing(const vnode::Fault& fault)
    {
        with([&](vnode::Node& node) { node.faults().add(fault); });
    }
    void working() ///< no faults any more
    {
        with([](vnode::Node& node) { node.faults().clear(); });
    }

    /// What the driver was told so far.
    [[nodiscard]] std::vector<vnode::DriverCall> driverCalls() const;
    [[nodiscard]] std::vector<std::string> notes() const;
    /// Pseudo device that the filter is attached to; "" none.
    [[nodiscard]] std::string attached(vnode::Filter filter = vnode::Filter::dhcp) const
    {
        return with([&](vnode::Node& node) { return node.filters().deviceOf(filter); });
    }

    /// A frame on a device, as vnode would get it now.
    [[nodiscard]] vnode::Decision receive(const std::string& device, std::vector<std::uint8_t> frame);

private:
    std::shared_ptr<platform::virtualNode::InProcessNode> access;
    std::vector<std::uint8_t> bytes; ///< what the last decision points into
};

/// Builds a node in a few lines:
///
///     const auto node = test::NodeBuilder().slot(3).vlan(100, "data").eth(1, "0/1").trunk("up0", 1,
///     {100}).use();
class NodeBuilder
{
public:
    NodeBuilder& mac(const vnode::MacAddress& value) { return set(node.facts.mac, value); }
    NodeBuilder& ipv4(std::uint32_t hostOrder) { return set(node.facts.ipv4, hostOrder); }
    NodeBuilder& ipv6(const std::string& text, const std::string& gateway = {})
    {
        node.facts.ipv6Gateway = gateway;
        return set(node.facts.ipv6, text);
    }
    NodeBuilder& boardType(int value) { return set(node.facts.boardType, value); }
    NodeBuilder& slot(std::uint8_t value) { return set(node.facts.slot, value); }
    NodeBuilder& option(int number)
    {
        node.facts.options.insert(number);
        return *this;
    }
    NodeBuilder& vlan(std::uint16_t id, const std::string& name = {})
    {
        node.vlans.push_back({id, name});
        return *this;
    }
    NodeBuilder& interface(std::uint32_t id, Interfaces::interfaceType type, const std::string& name,
                           std::uint32_t parentId = 0);
    NodeBuilder& eth(std::uint32_t id, const std::string& name)
    {
        return interface(id, Interfaces::interfaceType::eth, name);
    }
    NodeBuilder& subscriber(std::uint32_t id, const std::string& name)
    {
        return interface(id, Interfaces::interfaceType::subscriber, name);
    }
    // Of the interface added last.
    NodeBuilder& linuxName(const std::string& name) { return set(node.interfaces.back().linuxName, name); }
    NodeBuilder& description(const std::string& text)
    {
        return set(node.interfaces.back().description, text);
    }
    NodeBuilder& at(std::uint32_t panel, std::uint32_t port, std::uint32_t intf = 0, std::uint32_t gem = 0);

    NodeBuilder& access(const std::string& device, std::uint32_t interfaceId, std::uint16_t vlan)
    {
        trunk(device, interfaceId, {});
        return set(node.ports.back().attachments.back().untagged, vlan);
    }
    NodeBuilder& trunk(const std::string& device, std::uint32_t interfaceId,
                       std::initializer_list<std::uint16_t> vlans);

    /// The description; throws std::invalid_argument with the reason if it breaks a rule of the node file.
    [[nodiscard]] const vnode::NodeDescription& describe() const;
    [[nodiscard]] std::unique_ptr<TestNode> use() const { return std::make_unique<TestNode>(describe()); }

private:
    template <typename Member, typename Value>
    NodeBuilder& set(Member& member, const Value& value)
    {
        member = value;
        return *this;
    }

    vnode::NodeDescription node;
};

} // namespace test
