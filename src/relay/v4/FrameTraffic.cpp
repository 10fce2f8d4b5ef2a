#include "log/LogText.h"
#include "relay/io/PacketSocket.h"
#include "relay/v4/dhcpraImpl.h"

int dhcpraImpl::dhcpra_socket_create(const char* name, int& mtu) const
{
    return openPacketSocket(name, mtu, ioSink);
}

long dhcpraImpl::dhcpra_socket_write(const dhcpraMessage& frame) { return io->write(frame.bytesToSend()); }

void dhcpraImpl::sendFrame(const dhcpraMessage& frame, bool quiet)
{
    if (channel.send(frame, quiet))
        untold = {untold.copies + 1, "\t IPSG returned NOK from sendFrame "};
}

bool dhcpraImpl::sendToDHCPServer(const dhcpraMessage& frame, std::uint32_t server)
{
    trace.note("sendToDHCPServer()\n");
    if (messageSink.wantsDebugText())
        channel.traceFrameInfo(frame);
    if (msgDumpSink.wantsDebugText()) {
        msgDumpSink.log("DUMP BEFORE SEND:\n");
        channel.traceFrame(frame);
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
    untold = {untold.copies + 1, "\t IPSG returned NOK from sendToDHCPServer "};
    return true;
}

void dhcpraImpl::tellFrameSent(const dhcpraMessage& frame)
{
    const auto hook = frameSent.get();
    if (hook == nullptr)
        return;
    // The frame has gone: a refusal comes too late to do anything about it.
    auto counter = dhcpraTypes::counterId{};
    for (unsigned copy = 0; copy < untold.copies; ++copy)
        if ((*hook)(frame, &counter) != 0)
            trace.note(untold.refusalText);
}
