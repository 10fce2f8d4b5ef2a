#include "relay/engine/FrameChannel.h"

#include "common/Clock.h"
#include "log/LogText.h"
#include "relay/io/SendRetry.h"

#include <algorithm>
#include <cerrno>

namespace {

int sizeOf(std::span<const std::uint8_t> bytes) { return static_cast<int>(bytes.size()); }

} // namespace

bool FrameChannel::receive(UdpFrame& frame)
{
    const bool wasClosed = socket.descriptor() == -1;
    if (!reopenIfClosed())
        return false;
    const auto opened = wasClosed ? Clock::steady() : std::chrono::steady_clock::time_point();
    const bool received = getNext(frame);
    // A device that is down can be opened all the same, and then fails the first read.
    const bool failedAtOnce = !received && wasClosed && Clock::steady() - opened < longestReopenPause;
    if (!failedAtOnce)
        reopenPause = shortestReopenPause;
    if (!received) {
        sinks.trace.decided({"\t error in socket, close it.", "getNext"});
        socket.close();
        if (failedAtOnce)
            restBeforeReopening();
        return false;
    }
    sinks.trace.decided({"\t frame received", "getNext"});
    return true;
}

bool FrameChannel::reopenIfClosed()
{
    if (socket.descriptor() != -1)
        return true;
    const int opened = socket.open();
    sinks.trace.decided({"\t socket reopened, new socket ID %d.", "getNext"}, opened);
    if (opened == -1)
        restBeforeReopening();
    return opened != -1;
}

void FrameChannel::restBeforeReopening()
{
    socket.rest(reopenPause);
    reopenPause = std::min(2 * reopenPause, longestReopenPause);
}

int FrameChannel::read(UdpFrame& frame)
{
    if (sinks.io.wantsDebugText())
        sinks.io.log("%s dhcpra_socket_read()\n", names.family);
    const int received = socket.read(frame.prepareReceive());
    const int error = errno;
    if (sinks.io.wantsDebugText())
        sinks.io.log("\t received %d bytes\n", received);

    if (received == 0)
        logText(LogImpl::warning, "DHCPRA: ", names.engine, "::dhcpra_socket_read - socket has closed.\n");
    if (received < 0)
        logText(LogImpl::critical, "DHCPRA: ", names.engine,
                "::dhcpra_socket_read - error in recv() errno=", error, ".\n");
    if (received <= 0)
        return received;

    frame.setReceived(static_cast<std::size_t>(received));
    if (sinks.ioDump.wantsDebugText()) {
        sinks.ioDump.log("=== BEGIN raw socket data of (%d) bytes =======\n", received);
        traceDump(frame, frame.receivedSize());
        sinks.ioDump.log("=== END raw socket data =======================\n");
    }
    return received;
}

bool FrameChannel::getNext(UdpFrame& frame)
{
    sinks.trace.note("getNext()");
    for (;;) {
        const int received = read(frame);
        if (received < 1)
            return false;
        if (static_cast<std::uint32_t>(received) == frame.getFrameFullSize())
            break;
        sinks.trace.note("\t incomplete frame received. %d != %d", received, frame.getFrameFullSize());
    }
    if (sinks.io.wantsDebugText())
        traceFrameInfo(frame);
    if (sinks.msgDump.wantsDebugText())
        traceFrame(frame);
    return true;
}

bool FrameChannel::send(const UdpFrame& frame, bool quiet)
{
    sinks.trace.note("sendFrame()");
    if (sinks.message.wantsDebugText())
        traceFrameInfo(frame);
    if (!quiet && sinks.msgDump.wantsDebugText()) {
        sinks.msgDump.log("DUMP BEFORE SEND:");
        traceFrame(frame);
    }
    const std::span<const std::uint8_t> bytes = frame.bytesToSend();
    if (!quiet && sinks.ioDump.wantsDebugText()) {
        sinks.ioDump.log("=== BEGIN raw socket data =====================");
        traceDump(frame, bytes.size());
        sinks.ioDump.log("=== END raw socket data =======================");
    }

    const auto dump = [&frame, &bytes] {
        std::string text;
        frame.dump16(text, "", sizeOf(bytes));
        return text;
    };
    return sendWithRetry(socket, names.engine, bytes, dump);
}

void FrameChannel::traceFrameInfo(const UdpFrame& frame) const
{
    std::string text;
    frame.printFrameInfo(text);
    owner.log("%s", text.c_str());
}

void FrameChannel::traceFrame(const UdpFrame& frame) const
{
    std::string text;
    frame.printFrame(text);
    owner.log("%s", text.c_str());
}

// Not by the view's own dump to the sink: that one is silenced with the message texts, a raw dump is not.
void FrameChannel::traceDump(const UdpFrame& frame, std::size_t size) const
{
    std::string text;
    frame.dump16(text, "", static_cast<int>(size));
    sinks.ioDump.log("%s", text.c_str());
}
