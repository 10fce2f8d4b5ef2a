#pragma once

#include "log/LogText.h"
#include "rpc/dhcpra/Shapes.h"

#include <exception>
#include <sstream>

/// Service functions that differ from every shape. As in Shapes.h, the result is zero before.
namespace dhcpraShapes {

/// Code 4, as peers tell a living process from an old answer by it.
template <class>
struct ping
{
    void operator()(rpcDraResultCode& result) const { result = RPC_DRA_PING; }
};

template <class Operation>
struct nodeIdGet
{
    void operator()(rpcDraSubOptionResult& result) const
    {
        std::string text;
        result.code = toCode(Operation{}(text));
        if (result.code == RPC_DRA_SUCCESS && text.size() < sizeof result.value)
            wire::putText(result.value, text);
    }
};

template <class Operation>
struct levelGet
{
    void operator()(rpcDraResultLog& result) const
    {
        dhcpraTypes::dhcpraLoggingLevel level = 0;
        result.result = toCode(Operation{}(level));
        if (result.result == RPC_DRA_SUCCESS)
            result.level = static_cast<rpcDraLoggingLevel>(level);
    }
};

template <class Operation>
struct debugStateGet
{
    void operator()(rpcDraResultDebug& result) const
    {
        bool state = false;
        result.result = toCode(Operation{}(state));
        if (result.result == RPC_DRA_SUCCESS)
            result.state = state;
    }
};

template <class Operation>
struct applyDefaults
{
    void operator()(rpcDraResultCode& result) const
    {
        result = Operation{}() ? RPC_DRA_SUCCESS : RPC_DRA_ENTITY_FAILED;
    }
};

/// The first six bytes are the address; fewer store nothing.
template <class Operation>
struct localMacSet
{
    void operator()(rpcDraResultCode& result, const rpcDraSetLocalMac& mac) const
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(mac.rpcDraSetLocalMac_val);
        result = mac.rpcDraSetLocalMac_len < 6 ? RPC_DRA_ENTITY_FAILED : toCode(Operation{}(bytes));
    }
};

/// Code 0 also for an unknown interface.
template <class Operation>
struct cpeMacSet
{
    void operator()(rpcDraResultCode&, u_int intf, const rpcDraMacAddr& mac) const
    {
        static_cast<void>(Operation{}(intf, mac.mac));
    }
};

template <class Operation>
struct portAdd
{
    void operator()(rpcDraResultCode& result, const rpcDraSetInterface& record) const
    {
        result = toCode(Operation{}(toEntity(record)));
    }
};

/// Events that no engine looks at: code 0.
template <class Operation>
struct event
{
    void operator()(rpcDraResultCode&, rpcDhcpraBllConfEvent value) const
    {
        static_cast<void>(Operation{}(toEntity(value)));
    }
};

template <class Operation>
struct debugText
{
    void operator()(rpcDraResultCode&, const char* text) const { Operation{}(text); }
};

/// Debug words answer on the terminal that is named with them; the peer gets code 0 whatever happens, so a
/// word that throws is only logged.
template <class Action>
void runWord(const char* key, Action action) noexcept
{
    try {
        action();
    } catch (const std::exception& error) {
        logText(LogImpl::critical, "Debug word ", key, " failed: ", error.what(), "\n");
    } catch (...) {
        logText(LogImpl::critical, "Debug word ", key, " failed.\n");
    }
}

/// What the word writes to the stream ends here: there is no way for it to the peer.
template <class Operation>
struct wordToRelay
{
    void operator()(rpcDraResultCode&, const char* key, const char* value, const char* tty) const
    {
        runWord(key, [&] {
            std::ostringstream reply;
            Operation{}(toEntity(key), toEntity(value), &reply, toEntity(tty));
        });
    }
};

template <class Operation>
struct wordToManager
{
    void operator()(rpcDraResultCode&, const char* key, const char* value, const char* tty) const
    {
        runWord(key, [&] { Operation{}(toEntity(key), toEntity(value), toEntity(tty)); });
    }
};

} // namespace dhcpraShapes
