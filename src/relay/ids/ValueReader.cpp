#include "relay/ids/ValueReader.h"

#include "common/CZoUtil.h"
#include "platform/Node.h"
#include "platform/zobridge.h"
#include "wire/AddressText.h"

#include <algorithm>

using dhcpraTypes::idGenType;
using Interfaces::interfaceType;

namespace {

const char* typeWord(interfaceType type)
{
    switch (type) {
    case interfaceType::eth:
        return "eth";
    case interfaceType::subscriber: {
        const int board = Ports::getBoardType();
        return board == 1 || board == 5 || board == 7 ? "dsl" : "eth";
    }
    case interfaceType::pvc:
        return "atm";
    case interfaceType::pon:
        return "olt";
    case interfaceType::onu:
        return "onu";
    case interfaceType::gem:
        return "gem";
    case interfaceType::management:
        return "mng";
    case interfaceType::lag:
        return "lag";
    }
    return nullptr;
}

} // namespace

ValueReader::ValueReader(const IdContext& source, const IdFamily& ownFamily, const IdSubject& subject,
                         std::string& out)
    : context(source), family(ownFamily), value(out), idType(subject.type), intfId(subject.intfId),
      vid(subject.vid), cvid(subject.cvid)
{
    if (idType == idGenType::testData) {
        intfId = context.testData.intfId;
        vid = context.testData.vlan;
    }
    if (idType != idGenType::liveFrame)
        cvid = context.testData.cvid;
}

void ValueReader::mac(const std::uint8_t* known)
{
    if (std::all_of(known, known + 6, [](std::uint8_t byte) { return byte == 0; }))
        return fail("\t MAC is NULL\n");
    value = CZoUtil::macToString(known);
}

std::optional<interfaceType> ValueReader::typeOr(const char* reason)
{
    interfaceType type{};
    if (Interfaces::interfaceGetTypeById(intfId, type) == 0)
        return type;
    fail(reason);
    return std::nullopt;
}

std::optional<Interfaces::slot_port_s> ValueReader::positionOr(const char* reason)
{
    Interfaces::slot_port_s position;
    if (Interfaces::interfaceSlotPortIntfGet(intfId, position) == 0)
        return position;
    fail(reason);
    return std::nullopt;
}

std::optional<Interfaces::Interface> ValueReader::parentOrFail()
{
    Interfaces::Interface parent;
    if (Interfaces::interfaceParentGet(intfId, parent) == 0)
        return parent;
    fail("\t Cannot read parent interface\n");
    return std::nullopt;
}

void ValueReader::panel()
{
    const auto position = positionOr("\t Cannot read interfaceSlotPortIntfGet\n");
    if (!position)
        return;
    switch (position->slot.number) {
    case 0:
    case 10: // numbered like panel 0 in the ids
        return number(0);
    case 1:
        return number(1);
    default:
        return fail("\t Cannot read valid panel\n");
    }
}

void ValueReader::interfaceTypeWord()
{
    const auto type = typeOr("\t Cannot read interfaceGetTypeById\n");
    if (!type)
        return;
    const char* word = typeWord(*type);
    if (word == nullptr)
        return fail("\t Cannot read valid intf type\n");
    value = word;
}

void ValueReader::agentBoard()
{
    std::uint8_t slot = 0;
    if (ncfmGetMyBoardPos(&slot) != 0)
        return fail("\t Cannot read ncfmGetMyBoardPos\n");
    number(slot);
}

void ValueReader::port()
{
    if (const auto position = positionOr("\t Cannot read interfaceSlotPortIntfGet\n"))
        number(position->port);
}

void ValueReader::portRemoteId()
{
    const dhcpraInterface* interface = context.interfaces.getInterfaceById(intfId);
    if (interface == nullptr)
        return fail("\t Cannot read getInterfaceById\n");
    value = family.portRemoteId(*interface, vid);
    const bool hasParent =
        interface->getType() == interfaceType::pvc || interface->getType() == interfaceType::gem;
    if (!value.empty() || !hasParent)
        return;

    const auto parent = parentOrFail();
    if (!parent)
        return;
    DHCPRA_ID_LOG(context.debug, "\t Adding PORT_REM_ID from parent id: %d.\n", static_cast<int>(parent->id));
    interface = context.interfaces.getInterfaceById(parent->id);
    if (interface == nullptr)
        return fail("\t No parent interface configuration\n");
    value = family.portRemoteId(*interface, vid);
}

void ValueReader::interfaceName()
{
    std::string name;
    if (Interfaces::interfaceGetNameById(intfId, name) != 0)
        return fail("\t Cannot read interfaceGetNameById\n");
    value = name;
}

void ValueReader::interfaceDescription()
{
    const auto type = typeOr("\t Cannot read interfaceGetTypeById\n");
    if (!type)
        return;
    std::string description;
    if (*type != interfaceType::gem) {
        if (Interfaces::interfaceGetDescription(intfId, description) != 0)
            return fail("\t Cannot read interfaceGetTypeById\n");
    } else {
        const auto parent = parentOrFail();
        if (!parent)
            return;
        if (Interfaces::interfaceGetDescription(parent->id, description) != 0)
            return fail("\t Cannot read interfaceGetTypeById from parent\n");
    }
    value = description;
}

void ValueReader::onu()
{
    ponNumber(&Interfaces::slot_port_s::intf, {interfaceType::onu, interfaceType::gem},
              "\t Not pon_gem or pon_onu interface\n");
}

void ValueReader::gemPort()
{
    ponNumber(&Interfaces::slot_port_s::gem, {interfaceType::gem}, "\t Not pon_gem interface\n");
}

void ValueReader::ponNumber(std::uint32_t Interfaces::slot_port_s::*member,
                            std::initializer_list<interfaceType> types, const char* otherType)
{
    constexpr char unreadable[] = "\t Cannot read interfaceSlotPortIntfGet or interfaceGetTypeById\n";
    const auto position = positionOr(unreadable);
    if (!position)
        return;
    const auto type = typeOr(unreadable);
    if (!type)
        return;
    if (std::find(types.begin(), types.end(), *type) == types.end())
        return fail(otherType);
    number((*position).*member);
}

void ValueReader::pvc()
{
    const auto type = typeOr("\t Cannot read interfaceGetTypeById\n");
    if (!type)
        return;
    const auto position = positionOr("\t Cannot read interfaceSlotPortIntfGet\n");
    if (!position)
        return;
    if (*type != interfaceType::pvc)
        return fail("\t Non-PVC interface\n");
    number(position->intf);
}

void ValueReader::atmNumber(std::uint32_t (dhcpraInterface::*member)() const)
{
    const auto type = typeOr("\t Cannot read interfaceGetTypeById\n");
    if (!type)
        return;
    if (*type != interfaceType::pvc)
        return fail("\t Non-PVC interface\n");
    const dhcpraInterface* interface = context.interfaces.getInterfaceById(intfId);
    if (interface == nullptr)
        return fail("\t Cannot read getInterfaceById\n");
    number((interface->*member)());
}

void ValueReader::clientMac()
{
    if (idType != idGenType::liveFrame)
        return mac(context.testData.clntMac.data());
    if (!context.frame.valid)
        return fail("\t Cannot read msg.isValid()\n");
    if (context.frame.ethSource == nullptr)
        return fail("\t Cannot read msg.getEthHeader()\n");
    mac(context.frame.ethSource);
}

void ValueReader::agentIpv4()
{
    if (context.identity.localIp == 0)
        return fail("\t localIpAddress is NULL\n");
    value = wire::ipv4Text(context.identity.localIp);
}

void ValueReader::agentIpv6()
{
    ncfmIpv6 record;
    if (ncfmGetIpv6(&record) != 0)
        return fail("\t getIpv6Addr: ncfmGetIpv6 has failed\n");
    if (record.address.empty())
        return fail("\t ipv6_addr is NULL\n");
    value = record.address;
    std::transform(value.begin(), value.end(), value.begin(), upperCase);
}

void ValueReader::vlan()
{
    if (dhcpraTypes::isNoVlan(vid))
        return fail("\t Invalid VLAN\n");
    number(vid);
}

void ValueReader::vlanName()
{
    if (dhcpraTypes::isNoVlan(vid))
        return fail("\t Invalid VLAN\n");
    zobridge::VlanInfo info;
    if (zobridge::vlanGetInfoId("", vid, info) != 0)
        return fail("\t annot read VLAN name\n");
    value = info.name;
}

void ValueReader::customerVlan()
{
    if (dhcpraTypes::isNoVlan(cvid))
        return fail("\t Invalid CVID \n");
    number(cvid);
}

const dhcpraInterface* ValueReader::onuAboveOrFail()
{
    const auto type = typeOr("\t Cannot read interfaceGetTypeById\n");
    if (!type)
        return nullptr;
    if (*type != interfaceType::gem) {
        fail("\t Invalid intf type\n");
        return nullptr;
    }
    const auto parent = parentOrFail();
    if (!parent)
        return nullptr;
    const dhcpraInterface* interface = context.interfaces.getInterfaceById(parent->id);
    if (interface == nullptr)
        fail("\t Cannot read getInterfaceById\n");
    return interface;
}

void ValueReader::cpeSerial()
{
    if (const dhcpraInterface* onu = onuAboveOrFail())
        value = onu->getCpeSerialNumber();
}

void ValueReader::cpeMac()
{
    if (const dhcpraInterface* onu = onuAboveOrFail())
        mac(onu->getCpeMac().data());
}
