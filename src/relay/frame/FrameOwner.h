#pragma once

#include "relay/model/DebugSink.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>

class dhcpraInterface;

/**
 * What a frame view asks of the engine that owns it: the interface behind an id or a name, and a sink for
 * debug texts. Engines derive from it, so that the views need nothing of an engine's header.
 *
 * All operations run on the frame thread with the engine's own locks held, as the view itself is used.
 */
class FrameOwner : public DebugSink
{
public:
    FrameOwner() = default;
    FrameOwner(const FrameOwner&) = delete;
    FrameOwner& operator=(const FrameOwner&) = delete;

    /// The configured interface, owned by the engine; null if there is none. An engine may answer a non-const
    /// pointer (covariant).
    virtual const dhcpraInterface* getInterfaceById(std::uint32_t id) const = 0;
    virtual const dhcpraInterface* getInterfaceByName(const std::string& name) const = 0;
    virtual const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                        std::uint32_t vci) const = 0;

    /// Above logging level 6 debug texts are wanted at all; everybody asks before formatting.
    [[nodiscard]] bool wantsDebugText() const override = 0;

    /// Formats as printf does and hands the text to writeDebugText; does nothing unless wantsDebugText().
    /// A text of any length arrives whole.
    void log(const char* format, ...) const final __attribute__((format(printf, 2, 3)));

    /// log() for sinks that stand in front of this one.
    void vlog(const char* format, std::va_list arguments) const __attribute__((format(printf, 2, 0)));

protected:
    /// Takes one formatted text. It may hold several lines and may end without a line end.
    virtual void writeDebugText(std::string_view text) const = 0;
};
