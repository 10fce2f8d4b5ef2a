#include "relay/ids/IdFamily.h"

namespace {

template <class Record, class Member>
const std::string* memberOf(const Record* record, Member member)
{
    return record == nullptr ? nullptr : &(record->*member);
}

} // namespace

constinit const IdFamily idFamilyV4{
    [](const dhcpraInterface& interface, std::uint16_t vid) -> const std::string& {
        return interface.getRemoteID(vid);
    },
    [](const dhcpraInterface& interface, std::uint16_t vid) {
        return memberOf(interface.findIntfVlan(vid), &dhcpraInterface::intfVlan::circuitIdFormat);
    },
    [](const dhcpraInterface& interface, std::uint16_t vid) {
        return memberOf(interface.findIntfVlan(vid), &dhcpraInterface::intfVlan::remoteIdFormat);
    },
    "CID",
};

constinit const IdFamily idFamilyV6{
    // The interface's one value: what is stored for a VLAN is reported but never leaves in a frame.
    [](const dhcpraInterface& interface, std::uint16_t) -> const std::string& {
        return interface.getRemoteIdValV6();
    },
    [](const dhcpraInterface& interface, std::uint16_t vid) {
        return memberOf(interface.findIntfVlanV6(vid), &dhcpraInterface::intfVlanV6::interfaceIdFormat);
    },
    [](const dhcpraInterface& interface, std::uint16_t vid) {
        return memberOf(interface.findIntfVlanV6(vid), &dhcpraInterface::intfVlanV6::remoteIdFormat);
    },
    "Interface ID",
};
