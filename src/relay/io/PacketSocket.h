#pragma once

#include "relay/model/DebugSink.h"

/// What the kernel accounts for one diverted frame of usual size, in bytes; it doubles what is asked for as a
/// receive buffer.
inline constexpr int accountedFrameBytes = 1070;

/// When an access node comes up, all of its subscribers ask at once: 16,000 frames are some 17 MB. This holds
/// such a burst and as much again while the frame thread waits for a configuration call.
inline constexpr int restartBurstBytes = 16 * 1024 * 1024;

/**
 * Opens the raw packet socket on the pseudo device @p name (at most 15 characters are used). The descriptor,
 * or -1 with the reason in the log. @p mtu becomes the device's MTU, 1500 when the device says 0; it informs
 * only.
 */
[[nodiscard]] int openPacketSocket(const char* name, int& mtu, const DebugSink& debug,
                                   int receiveBufferBytes = restartBurstBytes);
