#pragma once

#include "vnode/model/Types.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vnode::control {

using NamedCount = std::pair<std::string, std::uint64_t>;

enum class LinkState { up, down, absent };

/// A Linux device as operators see it.
struct DeviceReport
{
    std::string name;
    std::string kind; ///< "port", "internal" or "pseudo"
    LinkState state = LinkState::absent;
    std::vector<std::uint32_t> interfaces;
    std::vector<NamedCount> counters;
};

/// What the control service asks of the process around the model. Called on the loop's thread.
class Host
{
public:
    virtual ~Host() = default;

    /// Creates the pseudo device in the model and in Linux: 0, EEXIST or another errno.
    [[nodiscard]] virtual int createPseudoDevice(const std::string& name) = 0;
    [[nodiscard]] virtual std::vector<DeviceReport> deviceReports() = 0;
    virtual void clearCounters() = 0;
    /// The model's facts are other ones now.
    virtual void factsChanged() = 0;
    [[nodiscard]] virtual Time now() const = 0;
    [[nodiscard]] virtual Time started() const = 0;
};

} // namespace vnode::control
