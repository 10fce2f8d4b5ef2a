#include "platform/Interfaces.h"

#include "platform/virtual/Reading.h"

namespace Interfaces {

using namespace platform::virtualNode;
using vnode::Operation;
using vnode::Picture;

int interfaceListGet(std::vector<Interface>& list)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        list = picture.interfaces.list();
        return true;
    });
}

int interfaceGet(std::uint32_t id, Interface& record)
{
    return readInterface(id, [&](const Interface& row) { record = row; });
}

int interfaceGetTypeById(std::uint32_t id, interfaceType& type)
{
    return readInterface(id, [&](const Interface& row) { type = row.type; });
}

int interfaceGetNameById(std::uint32_t id, std::string& name)
{
    return readInterface(id, [&](const Interface& row) { name = row.name; });
}

int interfaceGetIdByName(const std::string& name, std::uint32_t& id)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        const Interface* row = picture.interfaces.findByName(name);
        if (row != nullptr)
            id = row->id;
        return row != nullptr;
    });
}

int interfaceGetDescription(std::uint32_t id, std::string& text)
{
    return readInterface(id, [&](const Interface& row) { text = row.description; });
}

int interfaceSlotPortIntfGet(std::uint32_t id, slot_port_s& position)
{
    return readInterface(id, [&](const Interface& row) { position = row.position; });
}

int interfaceParentGet(std::uint32_t id, Interface& parent)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        const Interface* row = picture.interfaces.find(id);
        const Interface* above = row != nullptr ? picture.interfaces.find(row->parentId) : nullptr;
        if (above != nullptr)
            parent = *above;
        return above != nullptr;
    });
}

int interfaceAllChildrenGet(std::uint32_t id, std::vector<std::uint32_t>& children)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        if (picture.interfaces.find(id) == nullptr)
            return false;
        children = picture.interfaces.childrenOf(id);
        return true;
    });
}

int interfaceGetNameBySlotnumPortIntfGem(std::uint32_t slotNumber, std::uint32_t port, std::uint32_t intf,
                                         std::uint32_t gem, std::string& name)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        const Interface* row = picture.interfaces.findByPosition(slotNumber, port, intf, gem);
        if (row != nullptr)
            name = row->name;
        return row != nullptr;
    });
}

int interfaceGetCountByType(interfaceType type, std::uint32_t& count)
{
    return read(Operation::registryRead, [&](const Picture& picture) {
        if (type > allInterfaceTypes)
            return false;
        count = type == allInterfaceTypes ? picture.interfaces.highestId() : picture.interfaces.countOf(type);
        return true;
    });
}

int boardPortCountGet(interfaceType type, std::uint32_t& count)
{
    return interfaceGetCountByType(type, count);
}

int interfaceMapAdd(const Interface& record) { return answer(current().addInterface(record)); }

int interfaceSetName(std::uint32_t id, const std::string& name)
{
    return answer(current().renameInterface(id, name));
}

int interfaceParentIdSet(std::uint32_t id, std::uint32_t parentId)
{
    return answer(current().setInterfaceParent(id, parentId));
}

int interfaceSlotPortIntfSet(std::uint32_t id, const slot_port_s& position)
{
    return answer(current().setInterfacePosition(id, position));
}

int interfaceUpdateDescription(std::uint32_t id, const std::string& text)
{
    return answer(current().describeInterface(id, text));
}

} // namespace Interfaces
