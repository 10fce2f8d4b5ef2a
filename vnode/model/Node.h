#pragma once

#include "platform/Interfaces.h"
#include "platform/zomacTable.h"
#include "vnode/model/Bridge.h"
#include "vnode/model/DriverNodes.h"
#include "vnode/model/Faults.h"
#include "vnode/model/Filters.h"
#include "vnode/model/NodeDescription.h"
#include "vnode/model/Picture.h"

#include <cstdint>
#include <deque>
#include <string>

namespace vnode {

/// The whole node. No lock and no clock: one thread at a time, and time is passed in. Operations that can
/// fail answer 0 or an errno; injected faults come first.
class Node
{
public:
    /// @p description has passed findProblem().
    explicit Node(NodeDescription description);
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    [[nodiscard]] const NodeDescription& description() const { return described; }

    /// The configuration from which queries are answered.
    [[nodiscard]] const Picture& picture() const { return current; }

    // Registry and facts: each change makes a new generation.
    [[nodiscard]] int addInterface(const Interfaces::Interface& row);
    [[nodiscard]] int removeInterface(std::uint32_t id);
    [[nodiscard]] int renameInterface(std::uint32_t id, const std::string& name);
    [[nodiscard]] int setInterfaceParent(std::uint32_t id, std::uint32_t parentId);
    [[nodiscard]] int setInterfacePosition(std::uint32_t id, const Interfaces::slot_port_s& position);
    [[nodiscard]] int describeInterface(std::uint32_t id, const std::string& text);
    void setFacts(const NodeFacts& facts);
    [[nodiscard]] int nameVlan(std::uint16_t id, const std::string& name);

    // What the bridge control library does.
    [[nodiscard]] int createPseudoDevice(const std::string& name); ///< EEXIST when it is there already
    [[nodiscard]] int openControl();
    [[nodiscard]] int markMacVlans(const zomacTableMacPort& key, Time now, zomacTableVlanBitmap& bitmap);

    /// Keeps a remark of the daemon to a part of the node that is not modelled, such as a debug call.
    void note(std::string text);
    [[nodiscard]] const std::deque<std::string>& notes() const { return noted; }

    [[nodiscard]] Bridge& bridge() { return learningBridge; }
    [[nodiscard]] const Bridge& bridge() const { return learningBridge; }
    [[nodiscard]] Filters& filters() { return filterTable; }
    [[nodiscard]] const Filters& filters() const { return filterTable; }
    [[nodiscard]] DriverNodes& driver() { return driverNodes; }
    [[nodiscard]] const DriverNodes& driver() const { return driverNodes; }
    [[nodiscard]] Faults& faults() { return faultTable; }

private:
    template <typename Change>
    int changePicture(Change&& change);

    NodeDescription described;
    Picture current;
    Filters filterTable;
    Faults faultTable;
    DriverNodes driverNodes;
    Bridge learningBridge;
    std::deque<std::string> noted;
};

} // namespace vnode
