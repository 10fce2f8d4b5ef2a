#include "common/CZoUtil.h"
#include "relay/id/CustomIds.h"
#include "relay/id/TestWords.h"
#include "relay/model/DebugChannels.h"
#include "relay/v6/dhcpraV6Impl.h"

// Debug words; they come on the thread that delivers external messages.

using EngineGuard = boost::lock_guard<boost::recursive_mutex>;

namespace {

void dumpIntfVlans(const dhcpraInterface& interface, std::ostringstream& out)
{
    if (interface.getIntfVlanMapV6().empty())
        return;
    out << " \tIntf Id: " << interface.getID() << ", name: '" << interface.getName() << "', Linux name: '"
        << interface.getLinuxname() << "':\n";
    for (const auto& [vid, record] : interface.getIntfVlanMapV6())
        out << "\t\tVlan: " << vid << "\n\t\t\tinterfaceIdMode: " << record.interfaceIdMode
            << "\n\t\t\tiidFormat: '" << record.interfaceIdFormat << "'\n\t\t\tridFormat: '"
            << record.remoteIdFormat << "'\n";
}

void dumpEquipment(const dhcpraInterface& interface, std::ostringstream& out)
{
    if (interface.getCpeSerialNumber().empty())
        return;
    out << " \tIntf Id: " << interface.getID() << ", CPE serial: " << interface.getCpeSerialNumber()
        << ", CPE MAC: " << CZoUtil::macToString(interface.getCpeMac().data()) << "\n";
}

} // namespace

void dhcpraV6Impl::setDebugFlag(debugFlag group, bool on)
{
    debugState.setDebugFlag(group, on);
    if (group == debugFlag::message || group == debugFlag::all)
        msg.debugEnabled = on;
}

void dhcpraV6Impl::dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const
{
    const EngineGuard guard(engineLock);
    const auto forWanted = [&](void (*dump)(const dhcpraInterface&, std::ostringstream&)) {
        for (const auto& [id, interface] : interfaces)
            if (intfId == 0 || intfId == id)
                dump(interface, *out);
    };
    *out << " Global data: \n ------------ \n interfaceIdFormat: '" << interfaceIdFormat
         << "'\n remoteIdFormat: '" << remoteIdFormat << "'\n";
    *out << "\n Intf-VLAN data: \n -------------- \n";
    forWanted(dumpIntfVlans);
    *out << "\n Intf data: \n -------------- \n";
    forWanted(dumpEquipment);
    *out << "\n";
}

void dhcpraV6Impl::dhcpraTestDump(std::ostringstream* out) const
{
    const EngineGuard guard(engineLock);
    testDump(customFormatTestData, DebugChannels::isOn(DebugChannels::testDebugV6), *out);
}

void dhcpraV6Impl::dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out)
{
    const EngineGuard guard(engineLock);
    testSet(testWordNamesV6, customFormatTestData, key, value, *out);
}

void dhcpraV6Impl::dhcpraTestRun(const std::string& key, const std::string& mode,
                                 std::ostringstream* out) const
{
    withIdContext(idGenType::testData, [&](const IdContext& context) {
        testRun(testWordNamesV6, customFormatTestData, CustomIds(context, idFamilyV6), key, mode, *out);
    });
}

void dhcpraV6Impl::dhcpraTestDebug(int value, std::ostringstream* out)
{
    DebugChannels::set(DebugChannels::testDebugV6, value != 0);
    *out << "\n Test debug set to " << (value != 0 ? 1 : 0) << "\n\n";
}
