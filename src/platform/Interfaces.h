#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * The node's registry of interfaces, with exactly the operations that the daemon calls. All operations answer
 * 0 on success and leave their outputs alone otherwise; all may be called from any thread.
 */
namespace Interfaces {

enum class interfaceType : std::uint32_t {
    eth = 0,        ///< Ethernet uplink
    subscriber = 1, ///< subscriber line; client side
    pvc = 2,        ///< PVC below a line; client side
    pon = 3,        ///< PON port
    onu = 4,        ///< ONU below a PON port
    gem = 5,        ///< GEM port below an ONU; client side
    management = 6,
    lag = 7,
};

/// In a count: interfaces of every type.
inline constexpr auto allInterfaceTypes = static_cast<interfaceType>(8);

struct slot_s
{
    char text[10]{};          ///< slot as text, zero-terminated if shorter
    std::uint32_t number = 0; ///< panel number
    bool operator==(const slot_s&) const = default;
};

/// Position of an interface on the board.
struct slot_port_s
{
    slot_s slot;
    std::uint32_t port = 0;
    std::uint32_t intf = 0; ///< ONU number below a PON port, PVC number below a line
    std::uint32_t gem = 0;
    bool operator==(const slot_port_s&) const = default;
};

struct phySpeed_s
{
    std::int32_t speed = 0;
    bool second = false;
    bool operator==(const phySpeed_s&) const = default;
};

struct dslSpeed_s
{
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    bool operator==(const dslSpeed_s&) const = default;
};

/// One row of the registry. The members flag1 to flag4 and value1 are carried for other users of it.
struct Interface
{
    std::uint32_t id = 0;
    std::string name;      ///< as operators see it, such as "0/2/5"
    std::string linuxName; ///< as the bridge knows it
    interfaceType type = interfaceType::eth;
    bool flag1 = false;
    bool flag2 = false;
    bool flag3 = false;
    phySpeed_s phySpeed;
    dslSpeed_s dslSpeed;
    std::string description;
    std::uint32_t value1 = 0;
    bool flag4 = false;
    std::uint32_t parentId = 0; ///< 0: none
    slot_port_s position;
    bool operator==(const Interface&) const = default;
};

[[nodiscard]] int interfaceListGet(std::vector<Interface>& list); ///< ascending id
[[nodiscard]] int interfaceGet(std::uint32_t id, Interface& record);
[[nodiscard]] int interfaceGetTypeById(std::uint32_t id, interfaceType& type);
[[nodiscard]] int interfaceGetNameById(std::uint32_t id, std::string& name);
[[nodiscard]] int interfaceGetIdByName(const std::string& name, std::uint32_t& id);
[[nodiscard]] int interfaceGetDescription(std::uint32_t id, std::string& text);
[[nodiscard]] int interfaceSlotPortIntfGet(std::uint32_t id, slot_port_s& position);
[[nodiscard]] int interfaceParentGet(std::uint32_t id, Interface& parent);
[[nodiscard]] int interfaceAllChildrenGet(std::uint32_t id, std::vector<std::uint32_t>& children);
/// Name of the interface at a position: panel, port, ONU or PVC number, GEM port; the lowest id of several.
[[nodiscard]] int interfaceGetNameBySlotnumPortIntfGem(std::uint32_t slotNumber, std::uint32_t port,
                                                       std::uint32_t intf, std::uint32_t gem,
                                                       std::string& name);

/// Number of interfaces of one type. For all types it is the highest id instead: callers walk the ids from 1
/// to the answer, and ids may have gaps.
[[nodiscard]] int interfaceGetCountByType(interfaceType type, std::uint32_t& count);
/// The same, for those who size tables by the board.
[[nodiscard]] int boardPortCountGet(interfaceType type, std::uint32_t& count);

int interfaceMapAdd(const Interface& record);
int interfaceSetName(std::uint32_t id, const std::string& name);
int interfaceParentIdSet(std::uint32_t id, std::uint32_t parentId);
int interfaceSlotPortIntfSet(std::uint32_t id, const slot_port_s& position);
int interfaceUpdateDescription(std::uint32_t id, const std::string& text);

} // namespace Interfaces
