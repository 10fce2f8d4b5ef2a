#include "vnode/process/NodeProcess.h"

#include "common/Clock.h"
#include "vnode/process/Console.h"
#include "vnode/process/LinkSettings.h"
#include "vnode/process/PacketPort.h"
#include "vnode/process/TapDevice.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vnode {

namespace {

using namespace std::chrono_literals;

// A device that comes or goes makes several events; one look serves them all.
constexpr auto settleTime = 20ms;
constexpr auto retryTime = 1s;
constexpr auto agePeriod = 5s;

// Sending on a device is limited to its MTU and 14 bytes: record and frame have 2048 bytes and room to spare.
constexpr unsigned pseudoDeviceMtu = 4096;

const char* nameOf(DeviceRole role)
{
    switch (role) {
    case DeviceRole::port:
        return "port";
    case DeviceRole::internal:
        return "internal";
    case DeviceRole::pseudo:
        return "pseudo";
    }
    return "";
}

const char* nameOf(control::LinkState state)
{
    switch (state) {
    case control::LinkState::up:
        return "up";
    case control::LinkState::down:
        return "down";
    case control::LinkState::absent:
        return "absent";
    }
    return "";
}

TapSettings internalSettings(const NodeFacts& facts)
{
    TapSettings settings;
    settings.bringUp = true;
    settings.mac = facts.mac;
    return settings;
}

/// The way to the node's own IP stack: a device that somebody has put there (a veth end), else a TAP of ours.
std::unique_ptr<FrameDevice> internalFrames(const std::string& name, const NodeFacts& facts)
{
    auto tap = std::make_unique<TapDevice>(name, internalSettings(facts));
    std::string reason;
    const bool opened = tap->open(reason);
    const bool isOtherKind = !opened && errno == EINVAL;
    tap->close();
    if (isOtherKind)
        return std::make_unique<PacketPort>(name);
    return tap;
}

} // namespace

NodeProcess::NodeProcess(EventLoop& eventLoop, Node& model)
    : loop(eventLoop), node(model), startTime(Clock::steady()), lookAtLinks(loop, [this] { rescan(); }),
      retryClosed(loop, [this] { rescan(); }), ageMacs(loop,
                                                       [this] {
                                                           node.bridge().macs().age(now());
                                                           ageMacs.arm(agePeriod);
                                                       }),
      watch(loop, [this] { lookAtLinks.arm(settleTime); })
{}

void NodeProcess::start()
{
    for (const vnode::Device& port : node.bridge().ports().devices()) {
        const DeviceRole role = port.internal ? DeviceRole::internal : DeviceRole::port;
        auto frames = port.internal ? internalFrames(port.name, node.picture().facts)
                                    : std::make_unique<PacketPort>(port.name);
        ports.push_back(std::make_unique<NodeDevice>(role, ports.size(), std::move(frames)));
    }
    rescan();
    ageMacs.arm(agePeriod);
}

bool NodeProcess::openDevice(NodeDevice& device, std::string& reason)
{
    if (!device.open(reason))
        return false;
    if (loop.watch(device.frames().descriptor(), [this, &device] { serve(device); }))
        return true;
    reason = std::string("epoll: ") + std::strerror(errno);
    device.frames().close();
    return false;
}

void NodeProcess::closeDevice(NodeDevice& device)
{
    loop.forget(device.frames().descriptor());
    device.frames().close();
}

/// Checks every device: opens those that are back, closes those that were replaced, reports changes.
void NodeProcess::rescan()
{
    bool anyClosed = false;
    for (auto* devices : {&ports, &pseudoDevices}) {
        for (const auto& device : *devices) {
            std::string reason;
            if (device->frames().isStale())
                closeDevice(*device);
            if (!device->frames().isOpen())
                anyClosed = !openDevice(*device, reason) || anyClosed;
            if (const auto state = device->news())
                say(nameOf(device->role()), " ", device->name(), ": ", nameOf(*state),
                    reason.empty() ? "" : ", ", reason);
        }
    }
    if (anyClosed)
        retryClosed.arm(retryTime);
}

void NodeProcess::serve(NodeDevice& device)
{
    for (int i = 0; i < burst; ++i) {
        std::span<std::uint8_t> frame;
        switch (device.receive(buffer, frame)) {
        case IoResult::done:
            handle(device, frame);
            break;
        case IoResult::skipped:
        case IoResult::oversize:
            break;
        case IoResult::nothing:
            return;
        case IoResult::down:
            lookAtLinks.arm(settleTime);
            return;
        case IoResult::gone:
        case IoResult::full:
        case IoResult::failed:
            // Close it at once, else the loop finds it readable for ever. Open it again if the device exists.
            closeDevice(device);
            lookAtLinks.arm(settleTime);
            return;
        }
    }
}

void NodeProcess::handle(NodeDevice& device, std::span<const std::uint8_t> frame)
{
    if (device.role() == DeviceRole::pseudo)
        node.bridge().inject(frame, now(), decision);
    else
        node.bridge().receive(device.number(), frame, now(), decision);

    switch (decision.kind) {
    case Decision::Kind::drop:
        break;
    case Decision::Kind::forward:
        for (const Egress& egress : decision.outputs) {
            decision.compose(egress, composed);
            ports[egress.device]->send(composed);
        }
        break;
    case Decision::Kind::divert:
        if (NodeDevice* pseudo = findPseudo(decision.device))
            pseudo->send(decision.diverted);
        break;
    }
}

NodeDevice* NodeProcess::findPseudo(const std::string& name)
{
    const auto found =
        std::ranges::find(pseudoDevices, name, [](const auto& device) { return device->name(); });
    return found != pseudoDevices.end() ? found->get() : nullptr;
}

int NodeProcess::createPseudoDevice(const std::string& name)
{
    if (const int error = node.createPseudoDevice(name))
        return error;
    TapSettings settings;
    settings.mtu = pseudoDeviceMtu;
    settings.quiet = true;
    auto device =
        std::make_unique<NodeDevice>(DeviceRole::pseudo, 0, std::make_unique<TapDevice>(name, settings));
    std::string reason;
    if (!openDevice(*device, reason)) {
        const int error = errno;
        node.filters().removeDevice(name);
        say("pseudo ", name, ": ", reason);
        return error != 0 ? error : EIO;
    }
    pseudoDevices.push_back(std::move(device));
    lookAtLinks.arm(settleTime);
    return 0;
}

std::vector<control::DeviceReport> NodeProcess::deviceReports()
{
    std::vector<control::DeviceReport> reports;
    for (auto* devices : {&ports, &pseudoDevices}) {
        for (const auto& device : *devices) {
            control::DeviceReport report{device->name(), nameOf(device->role()), device->state(), {}, {}};
            if (device->role() != DeviceRole::pseudo)
                for (const Attachment& attachment : node.description().ports[device->number()].attachments)
                    report.interfaces.push_back(attachment.interfaceId);
            report.counters = device->counters();
            reports.push_back(std::move(report));
        }
    }
    return reports;
}

void NodeProcess::clearCounters()
{
    for (auto* devices : {&ports, &pseudoDevices})
        for (const auto& device : *devices)
            device->clearCounters();
}

void NodeProcess::factsChanged()
{
    const auto& mac = node.picture().facts.mac;
    for (const auto& device : ports)
        if (device->role() == DeviceRole::internal && mac && !link::setMac(device->name(), *mac))
            say("internal ", device->name(), ": MAC not changed: ", std::strerror(errno));
}

Time NodeProcess::now() const { return Clock::steady(); }

void NodeProcess::reportCounters()
{
    for (const control::DeviceReport& report : deviceReports()) {
        std::ostringstream line;
        for (const auto& [name, value] : report.counters)
            if (value != 0)
                line << ' ' << name << '=' << value;
        say(report.kind, " ", report.name, " ", nameOf(report.state), line.str());
    }
    const Counters& counters = node.bridge().counters();
    for (std::size_t drop = 1; drop < dropCount; ++drop)
        if (counters.drops[drop] != 0)
            say("drop ", dropName(static_cast<Drop>(drop)), " ", counters.drops[drop]);
    say("diverted ", counters.diverted, ", injected ", counters.injected);
}

} // namespace vnode
