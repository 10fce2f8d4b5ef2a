#pragma once

#include "relay/frame/FrameOwner.h"
#include "relay/model/InterfaceTable.h"

#include <string>

/// An engine that knows the interfaces that a test gives it and collects debug texts.
class FakeFrameOwner : public FrameOwner
{
public:
    bool debugWanted = true;
    InterfaceTable interfaces;
    mutable std::string text;

    void add(std::uint32_t id, const std::string& name, Interfaces::interfaceType type)
    {
        interfaces.add(dhcpraInterface(id, name, "lx" + std::to_string(id), type));
    }

    const dhcpraInterface* getInterfaceById(std::uint32_t id) const override
    {
        return interfaces.getInterfaceById(id);
    }
    const dhcpraInterface* getInterfaceByName(const std::string& name) const override
    {
        return interfaces.getInterfaceByName(name);
    }
    const dhcpraInterface* getInterfaceByVpiVci(std::uint32_t parentId, std::uint32_t vpi,
                                                std::uint32_t vci) const override
    {
        return interfaces.getInterfaceByVpiVci(parentId, vpi, vci);
    }
    bool wantsDebugText() const override { return debugWanted; }

protected:
    void writeDebugText(std::string_view newText) const override { text += newText; }
};
