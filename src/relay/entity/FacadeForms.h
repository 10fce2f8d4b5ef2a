#pragma once

#include "relay/entity/UnderLock.h"
#include "relay/v4/dhcpraImpl.h"
#include "relay/v6/dhcpraV6Impl.h"

#include <boost/thread/lock_guard.hpp>
#include <cstdint>
#include <functional>
#include <type_traits>

/**
 * The forms that nearly all operations of dhcpra_config have: take the global lock, find the object, call one
 * of its operations, and answer 0, or -1 where any of that fails (an output is left alone then). Base class
 * for the names only.
 *
 * Operations are member functions.
 */
class FacadeForms
{
protected:
    using u16 = std::uint16_t;
    using u32 = std::uint32_t;
    using threeStateBool = dhcpraTypes::threeStateBool;

    static constexpr int success = 0;
    static constexpr int failure = -1;

    template <class Action>
    static int underExclusive(Action action)
    {
        return underLock<exclusiveLock_t>(failure, action);
    }

    template <class Action>
    static int underShared(Action action)
    {
        return underLock<sharedLock_t>(failure, action);
    }

    // ---- on an engine, which locks itself; Owner is its class or RelayEngine ----

    template <class Engine, class Owner, class Result, class... Types>
    static int change(Engine* engine, Result (Owner::*setter)(Types...),
                      std::type_identity_t<Types>... values)
    {
        return underExclusive([&] { return call(setter, *engine, values...); });
    }

    template <class Engine, class Owner, class Result, class Value>
    static int read(const Engine* engine, Result (Owner::*getter)() const, Value& value)
    {
        return underShared([&] {
            value = (engine->*getter)();
            return success;
        });
    }

    // ---- on an interface of an engine ----

    template <class Engine, class Action>
    static int onInterface(Engine* engine, u32 id, Action action)
    {
        const boost::lock_guard guard(engine->engineMutex());
        auto* interface = engine->getInterfaceById(id);
        return interface == nullptr ? failure : action(*interface);
    }

    template <class Engine, class Result, class... Types>
    static int changeOn(Engine* engine, u32 id, Result (dhcpraInterface::*setter)(Types...),
                        std::type_identity_t<Types>... values)
    {
        return underExclusive([&] {
            return onInterface(engine, id, [&](dhcpraInterface& i) { return call(setter, i, values...); });
        });
    }

    template <class Result, class Engine, class Value>
    static int readOn(const Engine* engine, u32 id, Result (dhcpraInterface::*getter)() const, Value& value)
    {
        return underShared([&] {
            return onInterface(engine, id, [&](const dhcpraInterface& i) {
                value = (i.*getter)();
                return success;
            });
        });
    }

    /// What an interface may have for a VLAN: nothing there is a failure.
    template <class Engine, class Value>
    static int findOn(const Engine* engine, u32 id, bool (dhcpraInterface::*getter)(u16, Value&) const,
                      u16 vlan, Value& value)
    {
        return underShared([&] {
            return onInterface(engine, id, [&](const dhcpraInterface& i) {
                return (i.*getter)(vlan, value) ? success : failure;
            });
        });
    }

    // ---- on a VLAN ----

    static int readOfVlan(const dhcpraImpl* engine, u16 vlan, threeStateBool (dhcpraVlan::*getter)() const,
                          threeStateBool& value)
    {
        return underShared([&] {
            const boost::lock_guard guard(engine->engineMutex());
            const dhcpraVlan* record = engine->getVlanById(vlan);
            if (record == nullptr)
                return failure;
            value = (record->*getter)();
            return success;
        });
    }

    /// A VLAN's record exists as long as one of its members says something: a value makes it, taking the last
    /// one back deletes it.
    template <class Engine>
    static int changeOfVlan(Engine* engine, u16 vlan, void (dhcpraVlan::*setter)(threeStateBool),
                            threeStateBool value)
    {
        return underExclusive([&] {
            const boost::lock_guard guard(engine->engineMutex());
            const bool set = value != threeStateBool::notSet;
            dhcpraVlan* record = engine->getVlanById(vlan, set);
            if (record == nullptr)
                return set ? failure : success;
            (record->*setter)(value);
            if (!set && !engine->isVlanConfigured(vlan))
                engine->vlanDelete(vlan);
            return success;
        });
    }

private:
    /// Calls @p operation; a bool that it answers is its success.
    template <class Operation, class Object, class... Values>
    static int call(Operation operation, Object& object, const Values&... values)
    {
        if constexpr (std::is_same_v<std::invoke_result_t<Operation, Object&, const Values&...>, bool>) {
            return std::invoke(operation, object, values...) ? success : failure;
        } else {
            std::invoke(operation, object, values...);
            return success;
        }
    }
};
