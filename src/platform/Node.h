#pragma once

#include <array>
#include <cstdint>
#include <string>

/// What the node knows of itself. Operations answer 0 on success and may be called from any thread.
namespace Network {
struct NetworkInfo
{
    std::array<std::uint8_t, 6> mac{};
    std::uint32_t ip = 0; ///< host order
};
[[nodiscard]] int getNetworkInfo(NetworkInfo* info);
} // namespace Network

namespace Ports {
/// Number of the board's type; types 1, 5 and 7 have DSL lines.
[[nodiscard]] int getBoardType();
} // namespace Ports

/// Slot number of this board.
[[nodiscard]] int ncfmGetMyBoardPos(std::uint8_t* slot);

struct ncfmIpv6
{
    std::string address; ///< text form, as the operator entered it
    std::string gateway;
};
[[nodiscard]] int ncfmGetIpv6(ncfmIpv6* record);

/// The node's predicate for a deployment option.
[[nodiscard]] bool isActive(int option);

namespace Syslogger {
/// Sink of the debug RPC; @p function tells the sender apart.
void debugMessage(const char* text, int function);
} // namespace Syslogger

namespace servprofile {
/// Tells the service profile entity that a PVC's circuit id mode changed; non-zero refuses.
[[nodiscard]] int servProfileOnDhcpraPvcCidModeChange(std::uint32_t interfaceId, int mode);
} // namespace servprofile
