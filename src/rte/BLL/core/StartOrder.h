#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// An entity's name and the names that must be started before it; names that no entity has are ignored.
struct StartOrderEntry
{
    std::string name;
    std::vector<std::string> dependencies;
};

/// Start order of @p entries: whatever an entry depends on comes before it, independent ones stay in the
/// order given. std::nullopt when the dependences have a cycle.
[[nodiscard]] std::optional<std::vector<std::string>> startOrder(const std::vector<StartOrderEntry>& entries);
