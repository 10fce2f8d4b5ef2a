#pragma once

#include "tools/dhcpractl/Procedures.h"

#include <cstdint>
#include <rpc/rpc.h>
#include <string>

namespace dhcpractl {

struct ConnectionOptions
{
    std::string host = "127.0.0.1";
    std::uint16_t port = 0; ///< 0: the port mapper knows
    bool udp = false;       ///< TCP carries lists of any length, UDP those of up to 8,800 bytes
    int timeout = 25;       ///< seconds for one call
};

/// The way to one program of the daemon; connects on first use.
class Connection
{
public:
    Connection(const ConnectionOptions& connectionOptions, const Program& calledProgram)
        : options(connectionOptions), called(calledProgram)
    {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] const Program& program() const { return called; }
    /// @throws Unreachable
    [[nodiscard]] CLIENT* client();

    /// Why the last call failed, as an exception. A stream that broke is made anew by the next call.
    [[noreturn]] void fail(const std::string& call);

private:
    void open();
    void close();

    const ConnectionOptions& options;
    const Program& called;
    CLIENT* handle = nullptr;
};

} // namespace dhcpractl
