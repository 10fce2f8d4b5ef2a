#pragma once

#include <atomic>
#include <cstdio>

/**
 * The channels that trace to standard output, whatever the logging level. They are switched by debug words on
 * the RPC thread and read on the frame threads, hence atomic; a stale answer costs one line of trace, so the
 * relaxed order is enough.
 */
namespace DebugChannels {

using Switch = std::atomic<bool>;

inline constinit Switch testDebug{false};   ///< macro language of the DHCPv4 relay
inline constinit Switch testDebugV6{false}; ///< macro language of the DHCPv6 relay
inline constinit Switch frameDebug{false};  ///< decisions on DHCPv4 frames

[[nodiscard]] inline bool isOn(const Switch& channel) { return channel.load(std::memory_order_relaxed); }
inline void set(Switch& channel, bool on) { channel.store(on, std::memory_order_relaxed); }

} // namespace DebugChannels

/// One line of trace with the place it comes from; @p indent is a literal of leading tabs. The arguments are
/// not worked out while the channel is off.
#define DHCPRA_TRACE(channel, indent, format, ...)                                                           \
    do {                                                                                                     \
        if (DebugChannels::isOn(channel)) {                                                                  \
            std::printf(indent "DHCPRA_DEBUG:%s,%d: " format, __func__,                                      \
                        __LINE__ __VA_OPT__(, ) __VA_ARGS__);                                                \
            std::fflush(stdout);                                                                             \
        }                                                                                                    \
    } while (false)
