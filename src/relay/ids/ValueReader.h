#pragma once

#include "platform/Interfaces.h"
#include "relay/ids/IdContext.h"
#include "relay/ids/IdFamily.h"
#include "relay/ids/MacroValueSource.h"
#include "relay/ids/NumberText.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

/// Reads the value of one macro. A step that fails says why and leaves the value empty.
class ValueReader
{
public:
    /// @p out is empty when it comes.
    ValueReader(const IdContext& source, const IdFamily& ownFamily, const IdSubject& subject,
                std::string& out);

    void chassis() { number(context.identity.chassisId); }
    void panel();
    void interfaceTypeWord();
    void agentBoard();
    void board() { fail("\t Cannot read valid board type\n"); }
    void port();
    void portRemoteId();
    void interfaceName();
    void interfaceDescription();
    void onu();
    void gemPort();
    void pvc();
    void atmNumber(std::uint32_t (dhcpraInterface::*member)() const);
    void clientMac();
    void agentMac() { mac(context.identity.localMac.data()); }
    void agentIpv4();
    void agentIpv6();
    void vlan();
    void vlanName();
    void customerVlan();
    void cpeSerial();
    void cpeMac();
    void text(const std::string& known) { value = known; }

    /// A macro without a rule stands as written.
    bool unknown(dhcpraTypes::customIdFormat macro)
    {
        DHCPRA_ID_LOG(context.debug, "\t Unknown macro: %d.\n", static_cast<int>(macro));
        return false;
    }

private:
    void fail(const char* reason) { DHCPRA_ID_LOG(context.debug, "%s", reason); }

    template <class Number>
    void number(Number known)
    {
        appendDecimal(value, known);
    }

    void mac(const std::uint8_t* known);
    void ponNumber(std::uint32_t Interfaces::slot_port_s::*member,
                   std::initializer_list<Interfaces::interfaceType> types, const char* otherType);

    // Answers of the registry; without one the reason has been told.
    std::optional<Interfaces::interfaceType> typeOr(const char* reason);
    std::optional<Interfaces::slot_port_s> positionOr(const char* reason);
    std::optional<Interfaces::Interface> parentOrFail();
    /// The ONU above a GEM port: it has the subscriber's equipment.
    const dhcpraInterface* onuAboveOrFail();

    const IdContext& context;
    const IdFamily& family;
    std::string& value;
    dhcpraTypes::idGenType idType;
    std::uint32_t intfId;
    std::uint16_t vid;
    std::uint16_t cvid;
};
