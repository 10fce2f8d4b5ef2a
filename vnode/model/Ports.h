#pragma once

#include "vnode/model/Ether.h"
#include "vnode/model/NodeDescription.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vnode {

/// A device of the bridge, in the order of the node file; its place there is the device's number.
struct Device
{
    std::string name;
    bool internal = false;
};

/// A frame leaving on an interface: the device, and the outer tag it has there (none: untagged).
struct Egress
{
    std::uint32_t interfaceId = 0;
    std::size_t device = 0;
    std::optional<Tag> tag;
};

/// Where a frame came in: the interface, and its outer tag inside the bridge (an untagged frame has got its
/// access VLAN). @ref rest is the offset of what follows that tag in the frame as received.
struct Ingress
{
    std::uint32_t interfaceId = 0;
    Tag tag;
    std::size_t rest = 0;
};

/// Ports of the bridge and their VLANs. Look-ups cost the same for any number of ports and VLANs.
class Ports
{
public:
    explicit Ports(const std::vector<PortDescription>& ports);

    [[nodiscard]] const std::vector<Device>& devices() const { return deviceList; }
    [[nodiscard]] std::optional<std::size_t> findDevice(const std::string& name) const;
    [[nodiscard]] bool hasInterface(std::uint32_t id) const { return interfaces.contains(id); }
    /// Interface of the node's own IP stack; 0: none.
    [[nodiscard]] std::uint32_t internalInterface() const { return internalId; }

    /// Nothing if no interface of the device takes that frame (its VLAN is not one of the port's).
    [[nodiscard]] std::optional<Ingress> classify(std::size_t device, const EtherHeader& header) const;

    /// How a frame whose outer tag is @p tag leaves on the interface; nothing if it is no member of the VLAN.
    [[nodiscard]] std::optional<Egress> egress(std::uint32_t interfaceId, const Tag& tag) const;

    /// Interfaces with a port in the VLAN, in the order of the node file.
    [[nodiscard]] const std::vector<std::uint32_t>& members(std::uint16_t vlan) const;

private:
    struct Interface
    {
        std::size_t device = 0;
        std::uint16_t tpid = wire::typeCustomerTag;
        std::optional<std::uint16_t> untagged;
        VlanSet tagged;
    };
    struct DeviceVlans
    {
        std::uint16_t tpid = wire::typeCustomerTag;
        std::optional<std::uint16_t> untagged;      ///< VLAN of untagged frames
        std::uint32_t onlyInterface = 0;            ///< of a device with one interface
        std::vector<std::uint32_t> interfaceOfVlan; ///< of a device with several, by VLAN id
    };

    void addAttachment(std::size_t device, const PortDescription& port, const Attachment& attachment);
    [[nodiscard]] std::uint32_t interfaceOn(const DeviceVlans& device, std::uint16_t vlan) const;

    std::vector<Device> deviceList;
    std::vector<DeviceVlans> deviceVlans;
    std::unordered_map<std::string, std::size_t> deviceByName;
    std::unordered_map<std::uint32_t, Interface> interfaces;
    std::vector<std::vector<std::uint32_t>> membersOfVlan;
    std::uint32_t internalId = 0;
};

} // namespace vnode
