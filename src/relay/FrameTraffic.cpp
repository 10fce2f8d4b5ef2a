#include "log/LogText.h"
#include "relay/dhcpraImpl.h"
#include "relay/io/PacketSocket.h"
#include "relay/io/SendRetry.h"

#include <cerrno>

namespace {

int sizeOf(std::span<const std::uint8_t> bytes) { return static_cast<int>(bytes.size()); }

} // namespace

int dhcpraImpl::dhcpra_socket_create(const char* name, int& mtu) const
{
    return openPacketSocket(name, mtu, ioSink);
}

int dhcpraImpl::dhcpra_socket_read(dhcpraMessage& frame)
{
    if (ioSink.wantsDebugText())
        ioSink.log("IPv4 dhcpra_socket_read()\n");
    const int received = io->read(frame.prepareReceive());
    const int error = errno;
    if (ioSink.wantsDebugText())
        ioSink.log("\t received %d bytes\n", received);

    if (received == 0)
        logText(LogImpl::warning, "DHCPRA: dhcpraImpl::dhcpra_socket_read - socket has closed.\n");
    if (received < 0)
        logText(LogImpl::critical, "DHCPRA: dhcpraImpl::dhcpra_socket_read - error in recv() errno=", error,
                ".\n");
    if (received <= 0)
        return received;

    frame.setReceived(static_cast<std::size_t>(received));
    if (ioDumpSink.wantsDebugText()) {
        ioDumpSink.log("=== BEGIN raw socket data of (%d) bytes =======\n", received);
        traceDump(frame, frame.receivedSize());
        ioDumpSink.log("=== END raw socket data =======================\n");
    }
    return received;
}

long dhcpraImpl::dhcpra_socket_write(const dhcpraMessage& frame) { return io->write(frame.bytesToSend()); }

bool dhcpraImpl::getNext()
{
    trace.note("getNext()");
    for (;;) {
        const int received = dhcpra_socket_read(msg);
        if (received < 1)
            return false;
        if (static_cast<std::uint32_t>(received) == msg.getFrameFullSize())
            break;
        trace.note("\t incomplete frame received. %d != %d", received, msg.getFrameFullSize());
    }
    if (ioSink.wantsDebugText())
        traceFrameInfo(msg);
    if (msgDumpSink.wantsDebugText())
        traceFrame(msg);
    return true;
}

void dhcpraImpl::traceFrameInfo(const dhcpraMessage& frame) const
{
    std::string text;
    frame.printFrameInfo(text);
    log("%s", text.c_str());
}

void dhcpraImpl::traceFrame(const dhcpraMessage& frame) const
{
    std::string text;
    frame.printFrame(text);
    log("%s", text.c_str());
}

// Not by the view's own dump to the sink: that one is silenced with the message texts, a raw dump is not.
void dhcpraImpl::traceDump(const dhcpraMessage& frame, std::size_t size) const
{
    std::string text;
    frame.dump16(text, "", static_cast<int>(size));
    ioDumpSink.log("%s", text.c_str());
}

void dhcpraImpl::sendFrame(const dhcpraMessage& frame, bool quiet)
{
    trace.note("sendFrame()");
    if (messageSink.wantsDebugText())
        traceFrameInfo(frame);
    if (!quiet && msgDumpSink.wantsDebugText()) {
        msgDumpSink.log("DUMP BEFORE SEND:");
        traceFrame(frame);
    }
    const std::span<const std::uint8_t> bytes = frame.bytesToSend();
    if (!quiet && ioDumpSink.wantsDebugText()) {
        ioDumpSink.log("=== BEGIN raw socket data =====================");
        traceDump(frame, bytes.size());
        ioDumpSink.log("=== END raw socket data =======================");
    }

    const auto dump = [&frame, &bytes] {
        std::string text;
        frame.dump16(text, "", sizeOf(bytes));
        return text;
    };
    if (sendWithRetry(*io, "dhcpraImpl", bytes, dump))
        tellFrameSent(frame, "\t IPSG returned NOK from sendFrame ");
}

bool dhcpraImpl::sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server)
{
    trace.note("sendToDHCPServer()\n");
    if (messageSink.wantsDebugText())
        traceFrameInfo(frame);
    if (msgDumpSink.wantsDebugText()) {
        msgDumpSink.log("DUMP BEFORE SEND:\n");
        traceFrame(frame);
    }

    if (!serverSender->open()) {
        logText(LogImpl::critical, "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot create a socket.\n");
        return false;
    }
    if (!serverSender->allowRouting()) {
        trace.note("\t error setting socket options\n");
        logText(LogImpl::debug, "DHCPRA: dhcpraImpl::sendToDHCPServer(): cannot set socket options.\n");
    }
    if (frame.getDhcpHeader() == nullptr) {
        trace.note("\t no DHCP header\n");
        logText(LogImpl::critical, "DHCPRA: dhcpraImpl::sendToDHCPServer(): no DHCP header.\n");
        serverSender->close();
        return false;
    }
    serverSender->send(server, frame.dhcpMessageBytes());
    serverSender->close();
    tellFrameSent(frame, "\t IPSG returned NOK from sendToDHCPServer ");
    return true;
}

void dhcpraImpl::tellFrameSent(const dhcpraMessage& frame, const char* refusalText)
{
    if (frameSent.empty())
        return;
    int counterId = 0;
    // The frame has gone: a refusal comes too late to do anything about it.
    if (frameSent(frame, counterId) != 0)
        trace.note(refusalText);
}
