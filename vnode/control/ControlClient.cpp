#include "vnode/control/ControlClient.h"

#include "vnode/loop/UniqueFd.h"

#include <ctime>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vnode::control {

namespace {

// A caller may hold the daemon's global lock: a node that hangs must not hold it up for the library's 25
// seconds.
constexpr timeval answerTime{5, 0};

sigset_t onlySigpipe()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool sigpipeIsPending()
{
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

ControlClient::NoSigpipe::NoSigpipe() : wasPending(sigpipeIsPending())
{
    const sigset_t set = onlySigpipe();
    pthread_sigmask(SIG_BLOCK, &set, &before);
}

ControlClient::NoSigpipe::~NoSigpipe()
{
    const sigset_t set = onlySigpipe();
    const timespec atOnce{};
    if (!wasPending)
        while (sigtimedwait(&set, nullptr, &atOnce) == -1 && errno == EINTR) {
        }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ControlClient::~ControlClient() { disconnect(); }

bool ControlClient::connected()
{
    if (handle != nullptr && isBroken())
        disconnect();
    if (handle != nullptr)
        return true;

    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    path.copy(address.sun_path, path.size());
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd || ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return false;

    const netbuf server{sizeof address, sizeof address, &address};
    handle = clnt_vc_create(fd.get(), &server, VNODE_CONTROL, VNODE_CONTROL_V1, 0, 0);
    if (handle == nullptr)
        return false;
    timeval patience = answerTime;
    clnt_control(handle, CLSET_TIMEOUT, reinterpret_cast<char*>(&patience));
    clnt_control(handle, CLSET_FD_CLOSE, nullptr);
    socket = fd.release();
    ++connection;
    return true;
}

// Between calls nothing is expected: anything to read is the end of the connection or a late answer. Checking
// before the call avoids a call that fails although it may have been carried out.
bool ControlClient::isBroken() const
{
    pollfd state{socket, POLLIN | POLLRDHUP, 0};
    return ::poll(&state, 1, 0) != 0;
}

void ControlClient::disconnect()
{
    if (handle == nullptr)
        return;
    clnt_destroy(handle); // closes the socket
    handle = nullptr;
    socket = -1;
}

int ControlClient::outcome(clnt_stat status)
{
    switch (status) {
    case RPC_SUCCESS:
        return 0;
    case RPC_CANTENCODEARGS:
        return EINVAL;
    case RPC_CANTSEND:
    case RPC_CANTRECV:
        disconnect();
        return ECONNREFUSED;
    case RPC_TIMEDOUT:
        disconnect();
        return ETIMEDOUT;
    default: // all other errors mean that the other side does not speak the protocol
        disconnect();
        return EPROTO;
    }
}

} // namespace vnode::control
