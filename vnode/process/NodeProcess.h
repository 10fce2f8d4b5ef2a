#pragma once

#include "vnode/control/Host.h"
#include "vnode/loop/EventLoop.h"
#include "vnode/model/Node.h"
#include "vnode/process/LinkWatch.h"
#include "vnode/process/NodeDevice.h"

#include <memory>
#include <string>
#include <vector>

namespace vnode {

/**
 * The model's hands: devices that frames come from and go to, on one loop. A device that is not there, or
 * goes, is waited for; its frames are dropped and counted meanwhile.
 */
class NodeProcess : public control::Host
{
public:
    NodeProcess(EventLoop& eventLoop, Node& model);

    /// Opens the ports. Devices that do not exist yet are reported, and opened when they appear.
    void start();

    /// Writes all counters to standard error.
    void reportCounters();

    [[nodiscard]] int createPseudoDevice(const std::string& name) override;
    [[nodiscard]] std::vector<control::DeviceReport> deviceReports() override;
    void clearCounters() override;
    void factsChanged() override;
    [[nodiscard]] Time now() const override;
    [[nodiscard]] Time started() const override { return startTime; }

private:
    /// Frames of one device that are served before the others get their turn.
    static constexpr int burst = 64;

    [[nodiscard]] bool openDevice(NodeDevice& device, std::string& reason);
    void closeDevice(NodeDevice& device);
    void rescan();
    void serve(NodeDevice& device);
    void handle(NodeDevice& device, std::span<const std::uint8_t> frame);
    [[nodiscard]] NodeDevice* findPseudo(const std::string& name);

    EventLoop& loop;
    Node& node;
    const Time startTime;

    std::vector<std::unique_ptr<NodeDevice>> ports; ///< in the order of the node file
    std::vector<std::unique_ptr<NodeDevice>> pseudoDevices;

    // One frame is handled at a time, without new memory.
    FrameBuffer buffer;
    Decision decision;
    std::vector<std::uint8_t> composed;

    DelayedAction lookAtLinks;
    DelayedAction retryClosed;
    DelayedAction ageMacs;
    LinkWatch watch;
};

} // namespace vnode
