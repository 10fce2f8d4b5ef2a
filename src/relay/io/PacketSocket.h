#pragma once

#include "relay/model/DebugSink.h"

/**
 * Opens the raw packet socket on the pseudo device @p name (at most 15 characters are used). The descriptor,
 * or -1 with the reason in the log. @p mtu becomes the device's MTU, 1500 when the device says 0; it informs
 * only.
 */
[[nodiscard]] int openPacketSocket(const char* name, int& mtu, const DebugSink& debug);
