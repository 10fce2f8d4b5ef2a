#pragma once

#include "tools/dhcpractl/Connection.h"
#include "tools/dhcpractl/Settings.h"

#include <cstdint>
#include <optional>
#include <string>

/// What changes the relay. All throw UsageError for a word that does not fit and Refused for a code other
/// than 0.
namespace dhcpractl {

void setRelay(Connection& connection, const std::string& key, const std::string& value);
void setInterface(Connection& connection, std::uint32_t id, const std::string& key, const std::string& value,
                  std::optional<std::uint16_t> vlan);
void setVlan(Connection& connection, std::uint16_t vlan, const std::string& key, const std::string& value);
void setServer(Connection& connection, const std::string& address, std::uint16_t vlan, bool add);
void setRecord(Connection& connection, std::uint32_t id, std::uint16_t vlan, bool add);

/// Of one interface, or of those that are found.
void resetCounters(Connection& connection, const std::optional<IdRange>& range);

} // namespace dhcpractl
