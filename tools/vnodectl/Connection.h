#pragma once

#include "vnode/control/ControlClient.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace vnodectl {

/// The node cannot be reached, or does not speak the protocol.
class Unreachable : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The node refused the request.
class Refused : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The node that is asked. Calls throw instead of answering an errno.
class Connection
{
public:
    explicit Connection(const std::string& socketPath) : path(socketPath), client(socketPath) {}

    template <typename Stub>
    void call(Stub&& stub)
    {
        if (const int error = client.call(stub))
            throw Unreachable(path + ": " + std::strerror(error));
    }

private:
    std::string path;
    vnode::control::ControlClient client;
};

/// Throws Refused unless @p error is 0.
inline void expectGood(int error)
{
    if (error != 0)
        throw Refused(std::strerror(error));
}

} // namespace vnodectl
