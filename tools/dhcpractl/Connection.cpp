#include "tools/dhcpractl/Connection.h"

#include "tools/dhcpractl/Failures.h"

#include <netdb.h>
#include <netinet/in.h>

namespace dhcpractl {

namespace {

sockaddr_in resolve(const ConnectionOptions& options)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    if (const int error = getaddrinfo(options.host.c_str(), nullptr, &hints, &found); error != 0)
        throw Unreachable(options.host + ": " + gai_strerror(error));
    sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    freeaddrinfo(found);
    address.sin_port = htons(options.port);
    return address;
}

std::string trimmed(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

} // namespace

Connection::~Connection() { close(); }

CLIENT* Connection::client()
{
    if (handle == nullptr)
        open();
    return handle;
}

void Connection::open()
{
    sockaddr_in address = resolve(options);
    int socket = RPC_ANYSOCK;
    handle = options.udp ? clntudp_create(&address, called.number, called.version, timeval{1, 0}, &socket)
                         : clnttcp_create(&address, called.number, called.version, &socket, 0, 0);
    if (handle == nullptr)
        throw Unreachable("no answer from dhcpra on " + options.host +
                          trimmed(clnt_spcreateerror("")).insert(0, " "));
    timeval timeout{options.timeout, 0};
    clnt_control(handle, CLSET_TIMEOUT, reinterpret_cast<char*>(&timeout));
}

void Connection::close()
{
    if (handle == nullptr)
        return;
    clnt_destroy(handle);
    handle = nullptr;
}

void Connection::fail(const std::string& call)
{
    const std::string reason = trimmed(clnt_sperror(client(), call.c_str()));
    close();
    throw Unreachable(reason);
}

} // namespace dhcpractl
