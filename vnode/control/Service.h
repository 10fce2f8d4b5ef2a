#pragma once

#include "vnode/control/Host.h"
#include "vnode/control/StampFile.h"
#include "vnode/control/Wire.h"
#include "vnode/model/Node.h"

#include <cstdint>
#include <deque>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vnode::control {

/**
 * What the node answers to a request. One member function a procedure of vnode_control.x, in its terms; what
 * an answer points to lives until the next call. No transport and no thread: @ref session tells the clients
 * apart.
 */
class Service
{
public:
    Service(Node& model, Host& process, StampPublisher& publisher)
        : node(model), host(process), stamps(publisher)
    {}

    /// The following calls come from this client.
    void begin(int client);
    /// The client is gone, and the driver handles that it left open with it; what it attached stays.
    void end(int client);

    // The daemon's questions.
    u_quad_t stamp();
    vnodeFactsReply facts();
    vnodeInterfacePage interfaces(u_int behindId);
    vnodeVlanPage vlans(u_int behindId);
    vnodeChange addInterface(const vnodeInterface& row);
    vnodeChange renameInterface(const vnode_interface_rename_1_argument& argument);
    vnodeChange setInterfaceParent(const vnode_interface_set_parent_1_argument& argument);
    vnodeChange setInterfacePosition(const vnode_interface_set_position_1_argument& argument);
    vnodeChange describeInterface(const vnode_interface_describe_1_argument& argument);
    vnodeMacVlans macVlans(const vnode_mac_vlans_1_argument& argument);
    int createPseudoDevice(const vnodeText& name);
    int openControl();
    vnodeDriverReply driverOpen(const vnode_driver_open_1_argument& argument);
    vnodeDriverReply driverIoctl(const vnode_driver_ioctl_1_argument& argument);
    vnodeDriverReply driverWrite(const vnode_driver_write_1_argument& argument);
    vnodeDriverReply driverClose(int handle);
    int note(const vnodeText& text);

    // The operators' questions.
    vnodeStatus status();
    vnodeDevicePage devices(u_int behindRow);
    vnodeInterfaceCountersPage interfaceCounters(u_int behindId);
    vnodeMacPage macs(const vnodeMacKey& behind);
    vnodeFilterList filters();
    vnodeNotes notes();
    vnodeDriverCalls driverCalls();
    vnodeChange removeInterface(u_int id);
    vnodeChange nameVlan(const vnode_vlan_name_1_argument& argument);
    vnodeChange setFacts(const vnodeFacts& facts);
    vnodeChange setOption(const vnode_set_option_1_argument& argument);
    int clearMacs();
    int clearCounters();
    int detachFilter(const vnodeText& name);
    int addFault(const vnodeFault& fault);
    int clearFaults();

private:
    [[nodiscard]] vnodeChange changed(int error);
    [[nodiscard]] const std::vector<std::uint32_t>& interfaceIds();
    [[nodiscard]] bool owns(int handle) const;
    [[nodiscard]] static vnodeDriverReply toReply(DriverReply reply);
    /// Rows for counters; they live as long as the answer.
    [[nodiscard]] std::vector<vnodeCount>& toCounts(const std::vector<NamedCount>& counts);

    Node& node;
    Host& host;
    StampPublisher& stamps;
    int session = -1;
    std::unordered_map<int, std::unordered_set<int>> handlesOf; ///< driver handles by client

    std::vector<std::uint32_t> ids; ///< of all interfaces, ascending, at idsStamp
    std::uint64_t idsStamp = 0;

    // What the last answer points to.
    Backing backing;
    std::vector<std::uint8_t> record;
    std::vector<int> options;
    std::vector<vnodeInterface> interfaceRows;
    std::vector<vnodeVlan> vlanRows;
    std::vector<vnodeDevice> deviceRows;
    std::vector<DeviceReport> reports;
    std::deque<std::vector<vnodeCount>> countRows;
    std::vector<NamedCount> totals;
    std::vector<vnodeInterfaceCounters> counterRows;
    std::vector<vnodeMacEntry> macRows;
    std::vector<vnodeFilter> filterList;
    std::vector<vnodeText> noteRows;
    std::vector<vnodeDriverCall> callRows;
};

} // namespace vnode::control
