#include "relay/ids/CustomIds.h"
#include "relay/ids/TestWords.h"
#include "relay/model/DebugChannels.h"
#include "relay/v6/dhcpraV6Impl.h"

// Debug words; they come on the thread that delivers external messages. A dump holds frameMutex for a copy
// only.

using FrameMutexGuard = boost::lock_guard<boost::recursive_mutex>;

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

} // namespace

void dhcpraV6Impl::setDebugFlag(debugFlag group, bool on)
{
    debugState.setDebugFlag(group, on);
    if (group == debugFlag::message || group == debugFlag::all)
        msg.debugEnabled = on;
}

void dhcpraV6Impl::dhcpraDump(std::uint32_t intfId, std::ostringstream* out) const
{
    struct Shown
    {
        std::string interfaceIdFormat, remoteIdFormat;
        std::vector<dhcpraInterface> interfaces;
    };
    const Shown shown = [&] {
        const FrameMutexGuard guard(frameMutex);
        return Shown{interfaceIdFormat, remoteIdFormat, copyOfInterfaces(intfId)};
    }();
    *out << " Global data: \n ------------ \n interfaceIdFormat: '" << shown.interfaceIdFormat
         << "'\n remoteIdFormat: '" << shown.remoteIdFormat << "'\n";
    *out << "\n Intf-VLAN data: \n -------------- \n";
    for (const dhcpraInterface& interface : shown.interfaces)
        dumpIntfVlans(interface, *out);
    dumpEquipment(shown.interfaces, *out);
    *out << "\n";
}

void dhcpraV6Impl::dhcpraTestDump(std::ostringstream* out) const
{
    const FrameMutexGuard guard(frameMutex);
    testDump(customFormatTestData, DebugChannels::isOn(DebugChannels::testDebugV6), *out);
}

void dhcpraV6Impl::dhcpraTestSet(const std::string& key, const std::string& value, std::ostringstream* out)
{
    const FrameMutexGuard guard(frameMutex);
    testSet(testWordNamesV6, customFormatTestData, key, value, *out);
}

void dhcpraV6Impl::dhcpraTestRun(const std::string& key, const std::string& mode,
                                 std::ostringstream* out) const
{
    const FrameMutexGuard guard(frameMutex);
    const IdContext context = idContextOf(idGenType::testData); // a run never looks at a live frame
    testRun(testWordNamesV6, customFormatTestData, CustomIds(context, idFamilyV6), key, mode, *out);
}

void dhcpraV6Impl::dhcpraTestDebug(int value, std::ostringstream* out)
{
    DebugChannels::set(DebugChannels::testDebugV6, value != 0);
    *out << "\n Test debug set to " << (value != 0 ? 1 : 0) << "\n\n";
}
