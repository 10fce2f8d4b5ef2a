#include "relay/model/dhcpraInterface.h"

#include "log/LogText.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace {

using dhcpraTypes::interfaceMode;

std::atomic<std::uint64_t> modeChanges{0};

void setModeChecked(interfaceMode& mode, interfaceMode value)
{
    // Only the upper end is tested: a peer's negative number counts as a large one.
    if (static_cast<std::uint32_t>(value) >= static_cast<std::uint32_t>(dhcpraTypes::interfaceModeCount)) {
        logText(LogImpl::critical, "New <interface mode> value is out of range. Old value remains.\n");
        return;
    }
    mode = value;
    modeChanges.fetch_add(1, std::memory_order_relaxed);
}

bool setRemoteIdChecked(std::string& remoteId, const std::string& value)
{
    if (value.size() > dhcpraInterface::remoteIdLengthMax)
        return false;
    remoteId = value;
    return true;
}

bool setRemoteIdOfVlan(dhcpraInterface::remoteIds_t& remoteIds, const std::string& value, std::uint16_t vid)
{
    if (value.size() > dhcpraInterface::remoteIdLengthMax || dhcpraTypes::isNoVlan(vid))
        return false;
    if (value.empty())
        remoteIds.erase(vid);
    else
        remoteIds[vid] = value;
    return true;
}

template <class Record, class Value>
bool copyOut(const Record* record, Value Record::*member, Value& value)
{
    if (record == nullptr)
        return false;
    value = record->*member;
    return true;
}

} // namespace

dhcpraInterface::dhcpraInterface(std::uint32_t ownId, std::string ownName, std::string ownLinuxName,
                                 Interfaces::interfaceType ownType)
    : id(ownId), type(ownType), name(std::move(ownName)), linuxName(std::move(ownLinuxName))
{}

void dhcpraInterface::setCircuitIdModeATMParams(std::uint32_t newParentId, std::uint32_t newVpi,
                                                std::uint32_t newVci)
{
    parentId = newParentId;
    vpi = newVpi;
    vci = newVci;
}

std::uint64_t dhcpraInterface::modeRevision() { return modeChanges.load(std::memory_order_relaxed); }

void dhcpraInterface::setMode(interfaceMode value) { setModeChecked(mode, value); }

const std::string& dhcpraInterface::getRemoteID(std::uint16_t vid) const
{
    const auto ofVlan = remoteIdPerVlan.find(vid);
    return ofVlan == remoteIdPerVlan.end() ? remoteId : ofVlan->second;
}

bool dhcpraInterface::setRemoteID(const std::string& value) { return setRemoteIdChecked(remoteId, value); }

bool dhcpraInterface::setRemoteID(const std::string& value, std::uint16_t vid)
{
    return setRemoteIdOfVlan(remoteIdPerVlan, value, vid);
}

void dhcpraInterface::setCpeMac(const std::uint8_t* mac)
{
    if (mac != nullptr)
        std::copy_n(mac, cpeMac.size(), cpeMac.begin());
}

bool dhcpraInterface::vlanDel(std::uint16_t vid)
{
    intfVlans.remove(vid);
    return true;
}

bool dhcpraInterface::vlanDelAll()
{
    intfVlans.clear();
    return true;
}

bool dhcpraInterface::getIntfVlan(std::uint16_t vid, intfVlan& record) const
{
    const intfVlan* found = findIntfVlan(vid);
    if (found == nullptr)
        return false;
    record = *found;
    return true;
}

bool dhcpraInterface::getCircuitIdMode(std::uint16_t vid, circuitIdMode_t& value) const
{
    return copyOut(findIntfVlan(vid), &intfVlan::circuitIdMode, value);
}

bool dhcpraInterface::getCircuitIdFormat(std::uint16_t vid, std::string& format) const
{
    return copyOut(findIntfVlan(vid), &intfVlan::circuitIdFormat, format);
}

bool dhcpraInterface::getRemoteIdFormat(std::uint16_t vid, std::string& format) const
{
    return copyOut(findIntfVlan(vid), &intfVlan::remoteIdFormat, format);
}

bool dhcpraInterface::setCircuitIdMode(std::uint16_t vid, circuitIdMode_t value)
{
    return intfVlans.setMode(vid, value);
}

bool dhcpraInterface::setCircuitIdFormat(std::uint16_t vid, const std::string& format)
{
    return intfVlans.setIdFormat(vid, format);
}

bool dhcpraInterface::setRemoteIdFormat(std::uint16_t vid, const std::string& format)
{
    return intfVlans.setRemoteIdFormat(vid, format);
}

std::uint32_t dhcpraInterface::getEnterpriseNumPerVlanV6(std::uint16_t vid) const
{
    const auto ofVlan = enterpriseNumPerVlanV6.find(vid);
    return ofVlan == enterpriseNumPerVlanV6.end() || ofVlan->second == 0 ? enterpriseNumV6 : ofVlan->second;
}

void dhcpraInterface::setModeV6(interfaceMode value) { setModeChecked(modeV6, value); }

bool dhcpraInterface::setRemoteIdValV6(const std::string& value)
{
    return setRemoteIdChecked(remoteIdValV6, value);
}

bool dhcpraInterface::setRemoteIdValPerVlanV6(const std::string& value, std::uint16_t vid)
{
    return setRemoteIdOfVlan(remoteIdValPerVlanV6, value, vid);
}

bool dhcpraInterface::setEnterpriseNumPerVlanV6(std::uint32_t value, std::uint16_t vid)
{
    if (dhcpraTypes::isNoVlan(vid))
        return false;
    enterpriseNumPerVlanV6[vid] = value;
    return true;
}

bool dhcpraInterface::vlanDelV6(std::uint16_t vid)
{
    intfVlansV6.remove(vid);
    return true;
}

bool dhcpraInterface::vlanDelAllV6()
{
    intfVlansV6.clear();
    return true;
}

bool dhcpraInterface::getIntfVlanV6(std::uint16_t vid, intfVlanV6& record) const
{
    const intfVlanV6* found = findIntfVlanV6(vid);
    if (found == nullptr)
        return false;
    record = *found;
    return true;
}

bool dhcpraInterface::getInterfaceIdModeV6(std::uint16_t vid, interfaceIdModeV6_t& value) const
{
    return copyOut(findIntfVlanV6(vid), &intfVlanV6::interfaceIdMode, value);
}

bool dhcpraInterface::getInterfaceIdFormatV6(std::uint16_t vid, std::string& format) const
{
    return copyOut(findIntfVlanV6(vid), &intfVlanV6::interfaceIdFormat, format);
}

bool dhcpraInterface::getRemoteIdFormatV6(std::uint16_t vid, std::string& format) const
{
    return copyOut(findIntfVlanV6(vid), &intfVlanV6::remoteIdFormat, format);
}

bool dhcpraInterface::setInterfaceIdModeV6(std::uint16_t vid, interfaceIdModeV6_t value)
{
    return intfVlansV6.setMode(vid, value);
}

bool dhcpraInterface::setInterfaceIdFormatV6(std::uint16_t vid, const std::string& format)
{
    return intfVlansV6.setIdFormat(vid, format);
}

bool dhcpraInterface::setRemoteIdFormatV6(std::uint16_t vid, const std::string& format)
{
    return intfVlansV6.setRemoteIdFormat(vid, format);
}

void dhcpraInterface::incrementCounter(dhcpraTypes::counterId counter, std::uint16_t vid)
{
    if (!counters.increment(counter, vid))
        logText(LogImpl::critical, "Requested counter does not exist.\n");
}

void dhcpraInterface::incrementCounterV6(dhcpraTypes::counterV6Id counter, std::uint16_t vid)
{
    if (!countersV6.increment(counter, vid))
        logText(LogImpl::critical, "Requested counter V6 does not exist.\n");
}

void dhcpraInterface::incrementCounterV6Ndp(dhcpraTypes::counterV6Ndp counter, std::uint16_t vid)
{
    if (!countersV6Ndp.increment(counter, vid))
        logText(LogImpl::critical, "Requested counter V6 NDP does not exist.\n");
}

void dhcpraInterface::resetCounters()
{
    counters.reset();
    countersV6.reset();
    countersV6Ndp.reset();
}
