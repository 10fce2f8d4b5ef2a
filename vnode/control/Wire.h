#pragma once

#include "vnode/model/DriverNodes.h"
#include "vnode/model/NodeDescription.h"
#include "vnode/model/Picture.h"
#include "vnode_control.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vnode::control {

/**
 * Keeps what records of the protocol point to while they are encoded. Texts that the model owns are pointed
 * to as they are, as long as they fit the protocol.
 */
class Backing
{
public:
    /// @p source itself, which outlives the answer.
    [[nodiscard]] char* text(const std::string& source);
    /// A copy.
    [[nodiscard]] char* keep(std::string_view source);
    [[nodiscard]] std::vector<u_int>& ids(const std::vector<std::uint32_t>& source);
    void clear();

private:
    std::deque<std::string> texts;
    std::deque<std::vector<u_int>> idLists;
};

/// True when the protocol can carry @p text unchanged.
[[nodiscard]] bool fitsProtocol(const std::string& text);

[[nodiscard]] vnodeMac toWire(const MacAddress& mac);
[[nodiscard]] MacAddress fromWire(const vnodeMac& mac);

[[nodiscard]] vnodePosition toWire(const Interfaces::slot_port_s& position);
[[nodiscard]] Interfaces::slot_port_s fromWire(const vnodePosition& position);

/// The texts stay @p row's, which outlives the record's use.
[[nodiscard]] vnodeInterface toWire(const Interfaces::Interface& row, Backing& backing);
/// Nothing for an interface type that does not exist.
[[nodiscard]] std::optional<Interfaces::Interface> fromWire(const vnodeInterface& row);

/// @p options holds what the record points to.
[[nodiscard]] vnodeFacts toWire(const NodeFacts& facts, Backing& backing, std::vector<int>& options);
/// Nothing for a slot above 255.
[[nodiscard]] std::optional<NodeFacts> fromWire(const vnodeFacts& facts);

} // namespace vnode::control
