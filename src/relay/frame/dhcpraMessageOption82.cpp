// dhcpraMessage: insertion, removal and reading of the relay agent information option (RFC 3046).
#include "relay/frame/CircuitIdText.h"
#include "relay/frame/IdForm.h"
#include "relay/frame/Option82.h"
#include "relay/frame/dhcpraMessage.h"
#include "relay/model/dhcpraInterface.h"
#include "wire/Dhcpv4.h"

#include <algorithm>

using namespace frame;
using namespace wire;

namespace {

int asInt(std::size_t size) { return static_cast<int>(size); }

std::size_t subOptionSize(std::size_t valueSize) { return valueSize == 0 ? 0 : valueSize + 2; }

/// What a parser says about a circuit id: the text around it.
struct Remark
{
    const char* before;
    const char* after;
};

void remark(const DebugSink* sink, const Remark& text, std::string_view circuitId)
{
    if (sink)
        sink->log("%s%.*s%s", text.before, asInt(circuitId.size()), circuitId.data(), text.after);
}

} // namespace

// Insertion

bool dhcpraMessage::isAddingOpt82Possible(const std::string& circuitId, const std::string& remoteId) const
{
    const std::size_t optionHeader = 2;
    const std::size_t subOptionHeaders = 4;
    if (getFrameSize() + subOptionHeaders + circuitId.size() + remoteId.size() + optionHeader >=
        frameSizeLimit)
        return false;
    const auto sizes = fitOption82({circuitId.size(), remoteId.size()}, nullptr);
    return hasRoomFor(optionHeader + subOptionSize(sizes.circuit) + subOptionSize(sizes.remote));
}

void dhcpraMessage::doAddOption82(const std::string& circuitId, const std::string& remoteId,
                                  const std::vector<std::uint8_t>& circuitIdBin,
                                  const std::vector<std::uint8_t>& remoteIdBin)
{
    addOk = true;
    const auto circuit = chooseIdForm(circuitId, circuitIdBin);
    const auto remote = chooseIdForm(remoteId, remoteIdBin);
    const auto* const sink = debug();
    if (sink) {
        sink->log("doAddOption82()\n");
        sink->log(circuitIdBin.empty() ? "Using CID ascii\n" : "Using CID bin\n");
        sink->log(remoteIdBin.empty() ? "Using RID ascii\n" : "Using RID bin\n");
        sink->log("Original circuitSize=%d, remoteSize=%d\n", asInt(circuit.size()), asInt(remote.size()));
    }
    if (circuit.empty() && remote.empty())
        return;

    const auto sizes = fitOption82({circuit.size(), remote.size()}, sink);
    if (sink) {
        sink->log("Final circuitSize=%d, remoteSize=%d\n", asInt(sizes.circuit), asInt(sizes.remote));
        sink->log("subOptCirIdSize=%d, subOptRemIdSize=%d\n", asInt(subOptionSize(sizes.circuit)),
                  asInt(subOptionSize(sizes.remote)));
    }
    const auto option = encodeOption82(circuit.first(sizes.circuit), remote.first(sizes.remote));
    if (ip().size() == 0 || udp().size() == 0 || dhcp().size() == 0)
        return;

    const std::size_t growth =
        getDhcpHeaderSize() >= optionsOffset ? insertOption(option.span()) : appendFirstOption(option.span());
    if (growth == 0) {
        addOk = false;
        return;
    }
    grown(growth);
    adjustLengths(asInt(growth));
}

std::size_t dhcpraMessage::insertOption(std::span<const std::uint8_t> option)
{
    const wire::Bytes options = message();
    if (options.size() < optionsOffset || !hasRoomFor(option.size()))
        return 0;
    // In front of End, or behind the last option where a message has none.
    const std::size_t point = walkOptions(options, optionEnd).offset;
    const wire::Bytes target = dhcpStorage();
    target.move(point + option.size(), point, options.size() - point);
    target.put(point, option);
    return option.size();
}

std::size_t dhcpraMessage::appendFirstOption(std::span<const std::uint8_t> option)
{
    // The growth counts option, End and cookie, but not the gap between the message's old end and the cookie.
    // A message of this size never passes isFrameValid(), so nobody receives the difference.
    if (const auto* const sink = debug())
        sink->log("doAddOption82(), frame without any option\n");
    const std::size_t growth = option.size() + 1 + sizeof magicCookie;
    const std::size_t end = optionsOffset + option.size() + 1;
    const wire::Bytes target = dhcpStorage();
    if (!hasRoomFor(growth) || !target.holds(0, end))
        return 0;
    target.put(cookieOffset, magicCookie);
    target.put(optionsOffset, option);
    target.putU8(end - 1, optionEnd);
    touched(capacity - target.size() + end);
    return growth;
}

// Removal

void dhcpraMessage::doRemoveOption82()
{
    const auto* const sink = debug();
    if (sink)
        sink->log("doRemoveOption82()\n");
    const wire::Bytes options = message();
    const auto walk = walkOptions(options, optionRelayAgent);
    if (walk.result != OptionWalkEnd::found) {
        if (sink)
            sink->log("\t nothing to remove\n");
        removeOk = true;
        return;
    }
    const auto value = optionValueAt(options, walk.offset);
    if (!value) {
        if (sink)
            sink->log("\t impossible, no option 82 found for removing!\n");
        removeOk = false;
        return;
    }

    // The length is larger than the true tail, so that bytes behind the message move with it: padding of the
    // Ethernet frame keeps its place behind the message. The window holds the move inside the buffer.
    const std::size_t removed = value->size() + 2;
    const std::size_t moved = getDhcpHeaderSize() + walk.offset - removed;
    dhcpStorage().move(walk.offset, walk.offset + removed, moved);
    shrunk(removed);
    adjustLengths(-asInt(removed));
    removeOk = true;
}

// Reading

std::optional<std::string_view> dhcpraMessage::circuitIdText() const
{
    const auto* const sink = debug();
    const auto option = dhcpOptionValue(optionRelayAgent);
    if (!option) {
        if (sink)
            sink->log("\t parseOpt82ForCircuitId(): option 82 not found\n");
        return std::nullopt;
    }
    // Only in first place: the relays of this node write it there.
    if (option->size() < 2 || option->front() != subOptionCircuitId) {
        if (sink)
            sink->log("\t parseOpt82ForCircuitId(): suboption circuitId not found\n");
        return std::nullopt;
    }
    const auto value = option->subspan(2, std::min<std::size_t>((*option)[1], option->size() - 2));
    return std::string_view(reinterpret_cast<const char*>(value.data()), value.size());
}

bool dhcpraMessage::parseOpt82ForCircuitId(std::string& circuitId) const
{
    const auto text = circuitIdText();
    if (text)
        circuitId = *text;
    return text.has_value();
}

bool dhcpraMessage::parseOpt82ForVlan(std::uint16_t& vlan) const
{
    const auto* const sink = debug();
    if (sink)
        sink->log("parseOpt82ForVlan()\n");
    const auto circuitId = circuitIdText();
    if (!circuitId)
        return false;

    const auto field = vlanOfCircuitId(*circuitId);
    switch (field.result) {
    case VlanFieldResult::found:
        vlan = field.vlan;
        if (sink)
            sink->log("\t VLAN found: %d. CircuitId = [%.*s] \n", vlan, asInt(circuitId->size()),
                      circuitId->data());
        return true;
    case VlanFieldResult::atmForm:
        remark(sink, {"\t ATM type circuit id. No VLAN present. circuitId = [", "] \n"}, *circuitId);
        return false;
    case VlanFieldResult::noCvlan:
    case VlanFieldResult::unknownForm:
        remark(sink, {"\t Unknown circuit id format. No VLAN present. circuitId = [", "] \n"}, *circuitId);
        return false;
    case VlanFieldResult::empty:
        remark(sink, {"\t VLAN not found! sub-option circuitId = [", "]\n"}, *circuitId);
        return false;
    }
    return false;
}

bool dhcpraMessage::parseOpt82ForCVlan(std::uint16_t& cvlan) const
{
    const auto* const sink = debug();
    if (sink)
        sink->log("parseOpt82ForCVlan()\n");
    const auto circuitId = circuitIdText();
    if (!circuitId)
        return false;

    const auto field = cvlanOfCircuitId(*circuitId);
    switch (field.result) {
    case VlanFieldResult::found:
        cvlan = field.vlan;
        if (sink)
            sink->log("\t C-VLAN found: %d. CircuitId = [%.*s] \n", cvlan, asInt(circuitId->size()),
                      circuitId->data());
        return true;
    case VlanFieldResult::atmForm:
        remark(sink, {"\t ATM type circuit id. No C-VLAN present. circuitId = [", "] \n"}, *circuitId);
        return false;
    case VlanFieldResult::noCvlan:
        remark(sink, {"\t No C-VLAN present. circuitId = [", "] \n"}, *circuitId);
        return false;
    case VlanFieldResult::unknownForm:
        remark(sink, {"\t Unknown circuit id format. No C-VLAN present. circuitId = [", "] \n"}, *circuitId);
        return false;
    case VlanFieldResult::empty:
        remark(sink, {"\t C-VLAN not found! sub-option circuitId = [", "]\n"}, *circuitId);
        return false;
    }
    return false;
}

bool dhcpraMessage::parseOpt82ForPort(std::string& port) const
{
    const auto* const sink = debug();
    if (sink)
        sink->log("parseOpt82ForPort()\n");
    const auto circuitId = circuitIdText();
    if (!circuitId)
        return false;

    auto field = portOfCircuitId(*circuitId);
    switch (field.result) {
    case PortFieldResult::found:
        port = std::move(field.port);
        return true;
    case PortFieldResult::foundAtm:
        return findPvc(port, field.port, field.vpi, field.vci);
    case PortFieldResult::unknownForm:
        remark(sink, {"\t Unknown circuit id format. No port found. circuitId = [", "] \n"}, *circuitId);
        return false;
    case PortFieldResult::noColon:
        remark(sink, {"\t ':' not found! sub-option circuitId = [", "]\n"}, *circuitId);
        return false;
    case PortFieldResult::noSlash:
        remark(sink, {"\t '/' not found! sub-option circuitId = [", "]\n"}, *circuitId);
        return false;
    case PortFieldResult::empty:
        remark(sink, {"\t port not found! sub-option circuitId = [", "]\n"}, *circuitId);
        return false;
    }
    return false;
}

bool dhcpraMessage::findPvc(std::string& port, const std::string& line, std::uint32_t vpi,
                            std::uint32_t vci) const
{
    const auto* const sink = debug();
    port = line; // shown by callers even if there is no such interface
    const auto* const parent = impl ? impl->getInterfaceByName(line) : nullptr;
    if (parent == nullptr) {
        if (sink)
            sink->log("\t ':' not found! dhcpra_impl.getInterfaceByName(%s). Return.\n", line.c_str());
        return false;
    }
    const std::uint32_t parentId = parent->getID();
    const auto* const pvc = impl->getInterfaceByVpiVci(parentId, vpi, vci);
    if (pvc == nullptr) {
        if (sink)
            sink->log("\t ':' not found! dhcpra_impl.getInterfaceByVpiVci(parentId=%d,vpi=%d,vci=%d). "
                      "Return.\n",
                      static_cast<int>(parentId), static_cast<int>(vpi), static_cast<int>(vci));
        return false;
    }
    port = pvc->getName();
    return true;
}
