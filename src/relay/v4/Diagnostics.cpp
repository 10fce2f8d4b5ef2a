#include "common/CZoUtil.h"
#include "relay/v4/dhcpraImpl.h"

#include <cstdio>

// Debug words; they come on the thread that delivers external messages. A dump holds frameMutex for a copy
// only, because frames wait meanwhile.

namespace {

std::string macText(std::array<std::uint8_t, 6> mac) { return CZoUtil::macToString(mac.data()); }

std::string hexText(std::uint32_t value)
{
    char text[9];
    std::snprintf(text, sizeof text, "%08x", value);
    return text;
}

void dumpClients(const ClientTable& clients, std::ostringstream& out)
{
    out << "\n Client data: vecSize=" << clients.all().size() << "\n -------------- \n";
    for (const dhcprClientInfo_t& entry : clients.all())
        out << HistoryTime::text(entry.time) << ", intf: " << entry.interfaceId
            << ", mac: " << macText(entry.mac) << ", vlan: " << entry.vlan << "("
            << CZoUtil::ethertypeToString(entry.ethType) << ")"
            << ", cvlan: " << entry.cvlan << "(" << CZoUtil::ethertypeToString(entry.cEthType) << ")"
            << ", xid: " << hexText(entry.xid) << "\n";
}

void dumpHistory(const ClientHistory::Copy& history, std::ostringstream& out)
{
    out << "\n Client History \n ----------------- \n";
    history.forEach([&out](const dhcprLocalClientInfo_t& entry) {
        out << entry.time << ", intf: " << entry.interfaceId << ", mac: " << macText(entry.mac)
            << ", vlan: " << entry.vlan << ", msgSeq: " << entry.messageSeq << "\n";
    });
}

} // namespace

void dhcpraImpl::dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const
{
    struct Shown
    {
        std::string circuitIdFormat, remoteIdFormat;
        std::vector<dhcpraInterface> interfaces;
        ClientTable clients;
        ClientHistory::Copy history;
    };
    const Shown shown = [&] {
        const Guard guard(frameMutex);
        return Shown{global.circuitIdFormat, global.remoteIdFormat, copyOfInterfaces(intfId), clients.table,
                     clients.history.copy()};
    }();
    dumpSettings(shown.circuitIdFormat, shown.remoteIdFormat, shown.interfaces, *out);
    dumpClients(shown.clients, *out);
    dumpHistory(shown.history, *out);
    *out << "\n";
}

void dhcpraImpl::dhcpraFrameDebug(int value, std::ostringstream* out)
{
    DebugChannels::set(DebugChannels::frameDebug, value != 0);
    *out << "\n Frame debug set to " << (value != 0 ? 1 : 0) << "\n\n";
}
