#pragma once

#include "relay/io/FrameIo.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

inline constexpr int sendAttempts = 5;
inline constexpr std::chrono::milliseconds sendBackOff{30};

/**
 * Writes one frame, in up to five attempts with 30 ms after each failure. A full queue (EAGAIN) is only
 * waited for, any other failure opens the socket anew. @p engine is the class that says so in the log, @p
 * dump gives the frame as text and is only asked after a failure. False: the frame is lost.
 */
[[nodiscard]] bool sendWithRetry(FrameIo& io, const char* engine, std::span<const std::uint8_t> frame,
                                 const std::function<std::string()>& dump);
