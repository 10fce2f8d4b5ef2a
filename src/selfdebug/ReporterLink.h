#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

/// One report as it travels through the pipe, in native byte order, by a single write that the pipe keeps
/// whole.
struct slfDbgMsg
{
    static constexpr int maxFrames = 64;

    std::int32_t frames;
    std::uint32_t zeroAfterFrames;
    void* addresses[maxFrames]; ///< return addresses, innermost first
    std::int32_t signal;        ///< 0 for a report that a thread made of itself
    std::uint32_t zeroAfterSignal;
    void* faultAddress; ///< si_addr, or null when the signal has none
};
static_assert(sizeof(void*) != 8 || (sizeof(slfDbgMsg) == 536 && offsetof(slfDbgMsg, signal) == 520 &&
                                     offsetof(slfDbgMsg, faultAddress) == 528));

/**
 * The daemon's end of the link to the reporter process. Everything here may be used in a signal handler:
 * nothing allocates, formats through a library or takes a lock, and errno is the caller's business.
 */
namespace reporterLink {

inline constinit std::atomic<pid_t> reporterPid{-1}; ///< -1 until there is a reporter
inline constinit std::atomic<int> pipeFd{-1};        ///< the write end
static_assert(std::atomic<int>::is_always_lock_free);

/// Writes the whole text to standard error; failures are ignored.
void complain(const char* text);

/// Takes the calling thread's return addresses. False when there are none.
[[nodiscard]] bool collect(slfDbgMsg& record);

/// Sends the record; complains and answers false when it could not go whole.
[[nodiscard]] bool send(const slfDbgMsg& record);

} // namespace reporterLink
