#pragma once

#include "tools/vnodectl/Connection.h"

#include <cstdint>
#include <optional>
#include <string>

/// What operators and tests change. All throw Refused or Unreachable.
namespace vnodectl {

struct NewInterface
{
    std::uint32_t id = 0;
    std::string name;
    std::string linuxName; ///< empty: as the name
    std::uint32_t type = 0;
    std::uint32_t parent = 0;
    std::string description;
    std::uint32_t panel = 0;
    std::uint32_t port = 0;
    std::uint32_t intf = 0;
    std::uint32_t gem = 0;
};
void addInterface(Connection& node, const NewInterface& row);
void removeInterface(Connection& node, std::uint32_t id);
void renameInterface(Connection& node, std::uint32_t id, const std::string& name);
void describeInterface(Connection& node, std::uint32_t id, const std::string& text);
void setParent(Connection& node, std::uint32_t id, std::uint32_t parent);

void nameVlan(Connection& node, std::uint32_t id, const std::string& name);

void setOption(Connection& node, int number, bool on);

/// A fact by its name in "facts"; "none" takes away those that may be absent.
void setFact(Connection& node, const std::string& name, const std::string& value);

void clearMacs(Connection& node);
void clearCounters(Connection& node);
void clearFaults(Connection& node);

/// What the daemon does when it starts, for trials without it.
void createDevice(Connection& node, const std::string& name);
void attachFilter(Connection& node, const std::string& filter, const std::string& device);
void detachFilter(Connection& node, const std::string& filter);

struct NewFault
{
    std::string operation;
    int error = 0;
    std::uint32_t skip = 0;
    std::uint32_t times = 0;
    std::string path;
    std::uint64_t request = 0;
};
void addFault(Connection& node, const NewFault& fault);

} // namespace vnodectl
