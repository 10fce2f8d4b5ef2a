#pragma once

#include "platform/Interfaces.h"
#include "relay/model/CounterSet.h"
#include "relay/model/IntfVlanRecords.h"
#include "relay/model/dhcpraTypes.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

/**
 * Settings and counters of one interface. Each of the two relay engines holds objects of its own; members
 * with V6 in their name are used by the DHCPv6 engine only.
 *
 * Not locked: reached only with the global lock held (shared to read, exclusive to write), in the DHCPv6
 * engine under the engine lock too.
 *
 * Name and ATM parameters are keys of InterfaceTable and are changed through it.
 */
class dhcpraInterface
{
public:
    using threeStateBool = dhcpraTypes::threeStateBool;
    using interfaceMode = dhcpraTypes::interfaceMode;
    using mac_t = std::array<std::uint8_t, 6>;
    using remoteIds_t = std::map<std::uint16_t, std::string>;           ///< by VLAN
    using enterpriseNumbers_t = std::map<std::uint16_t, std::uint32_t>; ///< by VLAN

    /// Form of the circuit id.
    enum circuitIdMode_t : std::int32_t {
        DHCPRA_INTF_CIRMODE_NONE = -1, ///< in a per-VLAN record: no mode of its own
        DHCPRA_INTF_CIRMODE_KORVANEL = 0,
        DHCPRA_INTF_CIRMODE_STANDARD = 1,
        DHCPRA_INTF_CIRMODE_ATM = 2,
        DHCPRA_INTF_CIRMODE_CUSTOM = 3,
    };

    /// Form of the interface id. Which of the two fixed forms is taken does not depend on 0 or 1.
    enum interfaceIdModeV6_t : std::int32_t {
        DHCPRA_INTF_IIDMODE_NONE = -1, ///< in a per-VLAN record: no mode of its own
        DHCPRA_INTF_IIDMODE_FIXED_0 = 0,
        DHCPRA_INTF_IIDMODE_FIXED_1 = 1,
        DHCPRA_INTF_IIDMODE_CUSTOM = 2,
    };

    struct intfVlan
    {
        using Mode = circuitIdMode_t;
        static constexpr Mode noMode = DHCPRA_INTF_CIRMODE_NONE;

        std::uint16_t vlan = 0;
        circuitIdMode_t circuitIdMode = noMode;
        std::string circuitIdFormat;
        std::string remoteIdFormat;

        Mode& mode() { return circuitIdMode; }
        std::string& idFormat() { return circuitIdFormat; }
    };

    struct intfVlanV6
    {
        using Mode = interfaceIdModeV6_t;
        static constexpr Mode noMode = DHCPRA_INTF_IIDMODE_NONE;

        std::uint16_t vlan = 0;
        interfaceIdModeV6_t interfaceIdMode = noMode;
        std::string interfaceIdFormat;
        std::string remoteIdFormat;

        Mode& mode() { return interfaceIdMode; }
        std::string& idFormat() { return interfaceIdFormat; }
    };

    using intfVlans_t = IntfVlanRecords<intfVlan>::Map;
    using intfVlansV6_t = IntfVlanRecords<intfVlanV6>::Map;

    static constexpr std::size_t remoteIdLengthMax = 63;
    static constexpr std::uint32_t defaultEnterpriseNumV6 = 7731;

    dhcpraInterface() = default;
    dhcpraInterface(std::uint32_t id, std::string name, std::string linuxName,
                    Interfaces::interfaceType type);

    // Identity
    [[nodiscard]] std::uint32_t getID() const { return id; }
    [[nodiscard]] const std::string& getName() const { return name; }
    [[nodiscard]] const std::string& getLinuxname() const { return linuxName; }
    [[nodiscard]] Interfaces::interfaceType getType() const { return type; }
    [[nodiscard]] std::uint32_t getParentId() const { return parentId; }
    [[nodiscard]] std::uint32_t getVpi() const { return vpi; }
    [[nodiscard]] std::uint32_t getVci() const { return vci; }

    // Settings of the DHCPv4 relay
    [[nodiscard]] interfaceMode getMode() const { return mode; }
    [[nodiscard]] threeStateBool isCircuitTrusted() const { return circuitTrusted; }
    [[nodiscard]] threeStateBool isInsertOpt82() const { return insertOpt82; }
    [[nodiscard]] threeStateBool isUnicastExtension() const { return unicastExtension; }
    [[nodiscard]] threeStateBool isKeepOpt82() const { return keepOpt82; }
    [[nodiscard]] bool isMeteringEnabled() const { return metering; }
    [[nodiscard]] int getRate() const { return rate; }
    [[nodiscard]] circuitIdMode_t getCircuitIdMode() const { return circuitIdMode; }
    [[nodiscard]] int getCircuitIdModeValue() const { return circuitIdModeValue; }

    /// A mode of 4 or more is logged and refused; the old one stays.
    void setMode(interfaceMode value);
    /// Grows whenever the mode of any interface changes, so that lists of interfaces by mode can be kept.
    [[nodiscard]] static std::uint64_t modeRevision();
    void setCircuitTrusted(threeStateBool value) { circuitTrusted = value; }
    void setInsertOpt82(threeStateBool value) { insertOpt82 = value; }
    void setUnicastExtension(threeStateBool value) { unicastExtension = value; }
    void setKeepOpt82(threeStateBool value) { keepOpt82 = value; }
    void setMetering(bool value) { metering = value; }
    void setRate(int value) { rate = value; }
    void setCircuitIdMode(circuitIdMode_t value) { circuitIdMode = value; }
    void setCircuitIdModeValue(int value) { circuitIdModeValue = value; }

    // Remote id: what the macro PORT_REM_ID stands for
    [[nodiscard]] const std::string& getRemoteID() const { return remoteId; }
    /// The VLAN's own value, else that of the interface.
    [[nodiscard]] const std::string& getRemoteID(std::uint16_t vid) const;
    [[nodiscard]] const remoteIds_t& getRemoteIDMap() const { return remoteIdPerVlan; }
    /// False for more than 63 characters.
    [[nodiscard]] bool setRemoteID(const std::string& value);
    /// False for more than 63 characters or an id of 0xFFF; an empty text takes the VLAN's value away.
    [[nodiscard]] bool setRemoteID(const std::string& value, std::uint16_t vid);

    // Equipment behind the interface
    [[nodiscard]] const std::string& getCpeSerialNumber() const { return cpeSerialNumber; }
    [[nodiscard]] const mac_t& getCpeMac() const { return cpeMac; }
    void setCpeSerialNumber(const std::string& value) { cpeSerialNumber = value; }
    /// Six bytes; null is ignored.
    void setCpeMac(const std::uint8_t* mac);

    // Records for single VLANs, DHCPv4. Formats hold at most 128 characters; see IntfVlanRecords.
    [[nodiscard]] bool vlanAdd(std::uint16_t vid) { return intfVlans.add(vid); }
    bool vlanDel(std::uint16_t vid);
    bool vlanDelAll();
    [[nodiscard]] const intfVlans_t& getIntfVlanMap() const { return intfVlans.all(); }
    /// Null without a record; valid until the record changes.
    [[nodiscard]] const intfVlan* findIntfVlan(std::uint16_t vid) const { return intfVlans.find(vid); }
    [[nodiscard]] bool getIntfVlan(std::uint16_t vid, intfVlan& record) const;
    [[nodiscard]] bool getCircuitIdMode(std::uint16_t vid, circuitIdMode_t& value) const;
    [[nodiscard]] bool getCircuitIdFormat(std::uint16_t vid, std::string& format) const;
    [[nodiscard]] bool getRemoteIdFormat(std::uint16_t vid, std::string& format) const;
    [[nodiscard]] bool setCircuitIdMode(std::uint16_t vid, circuitIdMode_t value);
    [[nodiscard]] bool setCircuitIdFormat(std::uint16_t vid, const std::string& format);
    [[nodiscard]] bool setRemoteIdFormat(std::uint16_t vid, const std::string& format);

    // Settings of the DHCPv6 relay
    [[nodiscard]] interfaceMode getModeV6() const { return modeV6; }
    [[nodiscard]] threeStateBool isCircuitTrustedV6() const { return circuitTrustedV6; }
    [[nodiscard]] threeStateBool getInterfaceIDV6() const { return interfaceIdV6; }
    [[nodiscard]] const std::string& getRemoteIdValV6() const { return remoteIdValV6; }
    /// Stored and reported; frames carry the interface's one value.
    [[nodiscard]] const remoteIds_t& getRemoteIdValMapV6() const { return remoteIdValPerVlanV6; }
    [[nodiscard]] std::uint32_t getEnterpriseNumV6() const { return enterpriseNumV6; }
    /// The VLAN's own number, else (also where that is 0) the interface's.
    [[nodiscard]] std::uint32_t getEnterpriseNumPerVlanV6(std::uint16_t vid) const;
    [[nodiscard]] const enterpriseNumbers_t& getEnterpriseNumMapV6() const { return enterpriseNumPerVlanV6; }

    /// As setMode().
    void setModeV6(interfaceMode value);
    void setCircuitTrustedV6(threeStateBool value) { circuitTrustedV6 = value; }
    void setInterfaceIDV6(threeStateBool value) { interfaceIdV6 = value; }
    /// As setRemoteID().
    [[nodiscard]] bool setRemoteIdValV6(const std::string& value);
    [[nodiscard]] bool setRemoteIdValPerVlanV6(const std::string& value, std::uint16_t vid);
    void setEnterpriseNumV6(std::uint32_t value) { enterpriseNumV6 = value; }
    /// False for an id of 0xFFF.
    [[nodiscard]] bool setEnterpriseNumPerVlanV6(std::uint32_t value, std::uint16_t vid);

    // Records for single VLANs, DHCPv6
    [[nodiscard]] bool vlanAddV6(std::uint16_t vid) { return intfVlansV6.add(vid); }
    bool vlanDelV6(std::uint16_t vid);
    bool vlanDelAllV6();
    [[nodiscard]] const intfVlansV6_t& getIntfVlanMapV6() const { return intfVlansV6.all(); }
    [[nodiscard]] const intfVlanV6* findIntfVlanV6(std::uint16_t vid) const { return intfVlansV6.find(vid); }
    [[nodiscard]] bool getIntfVlanV6(std::uint16_t vid, intfVlanV6& record) const;
    [[nodiscard]] bool getInterfaceIdModeV6(std::uint16_t vid, interfaceIdModeV6_t& value) const;
    [[nodiscard]] bool getInterfaceIdFormatV6(std::uint16_t vid, std::string& format) const;
    [[nodiscard]] bool getRemoteIdFormatV6(std::uint16_t vid, std::string& format) const;
    [[nodiscard]] bool setInterfaceIdModeV6(std::uint16_t vid, interfaceIdModeV6_t value);
    [[nodiscard]] bool setInterfaceIdFormatV6(std::uint16_t vid, const std::string& format);
    [[nodiscard]] bool setRemoteIdFormatV6(std::uint16_t vid, const std::string& format);

    // Counters. An index that does not exist is logged and counts nothing.
    [[nodiscard]] counters_t getAllCounters() const { return counters.all(); }
    [[nodiscard]] countersPerVlan_t getCountersPerVlan() const { return counters.allPerVlan(); }
    [[nodiscard]] counters_t getAllCountersV6() const { return countersV6.all(); }
    [[nodiscard]] countersPerVlan_t getCountersPerVlanV6() const { return countersV6.allPerVlan(); }
    [[nodiscard]] counters_t getAllCountersV6Ndp() const { return countersV6Ndp.all(); }
    [[nodiscard]] countersPerVlan_t getCountersPerVlanV6Ndp() const { return countersV6Ndp.allPerVlan(); }
    void incrementCounter(dhcpraTypes::counterId counter, std::uint16_t vid);
    void incrementCounterV6(dhcpraTypes::counterV6Id counter, std::uint16_t vid);
    void incrementCounterV6Ndp(dhcpraTypes::counterV6Ndp counter, std::uint16_t vid);
    /// All three kinds.
    void resetCounters();

private:
    // The look-ups of the table follow these three, so only the table may change them.
    friend class InterfaceTable;
    void setName(const std::string& value) { name = value; }
    void setCircuitIdModeATMParams(std::uint32_t newParentId, std::uint32_t newVpi, std::uint32_t newVci);

    // First what a frame of the DHCPv4 relay looks at, so that it lies together.
    std::uint32_t id = 0;
    Interfaces::interfaceType type = Interfaces::interfaceType::eth;
    interfaceMode mode = interfaceMode::DISABLE;
    threeStateBool circuitTrusted = threeStateBool::notSet;
    threeStateBool insertOpt82 = threeStateBool::notSet;
    threeStateBool unicastExtension = threeStateBool::notSet;
    threeStateBool keepOpt82 = threeStateBool::notSet;
    circuitIdMode_t circuitIdMode = DHCPRA_INTF_CIRMODE_KORVANEL;
    std::string name;
    std::string linuxName;
    IntfVlanRecords<intfVlan> intfVlans;
    CounterSet<dhcpraTypes::counterCount> counters;

    std::uint32_t parentId = 0;
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    bool metering = false;
    int rate = 0;
    std::string remoteId;
    remoteIds_t remoteIdPerVlan;
    int circuitIdModeValue = 0;
    std::string cpeSerialNumber;
    mac_t cpeMac{};

    interfaceMode modeV6 = interfaceMode::DISABLE;
    threeStateBool circuitTrustedV6 = threeStateBool::no;
    threeStateBool interfaceIdV6 = threeStateBool::no;
    std::string remoteIdValV6;
    std::uint32_t enterpriseNumV6 = defaultEnterpriseNumV6;
    remoteIds_t remoteIdValPerVlanV6;
    enterpriseNumbers_t enterpriseNumPerVlanV6;
    IntfVlanRecords<intfVlanV6> intfVlansV6;
    CounterSet<dhcpraTypes::counterV6Count> countersV6;
    CounterSet<dhcpraTypes::counterV6NdpCount> countersV6Ndp;
};
