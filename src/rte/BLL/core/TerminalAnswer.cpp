#include "rte/BLL/core/TerminalAnswer.h"

#include "common/Clock.h"
#include "log/LogText.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds longestWait{2000};

class Descriptor
{
public:
    explicit Descriptor(int descriptor) : fd(descriptor) {}
    ~Descriptor()
    {
        if (fd != -1)
            close(fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    const int fd;
};

/// Text written to a disk by mistake would destroy it; and it could block for as long as the disk likes.
bool isBlockDevice(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISBLK(status.st_mode);
}

/// Without blocking: a FIFO nobody reads, a line without carrier or a stopped terminal must not hold the
/// caller.
int openTerminal(const std::string& path)
{
    return isBlockDevice(path) ? -1 : open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK);
}

bool waitUntilWritable(int fd, std::chrono::steady_clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::steady());
    if (left <= milliseconds::zero())
        return false;
    pollfd wait{fd, POLLOUT, 0};
    const int count = poll(&wait, 1, static_cast<int>(left.count()));
    return count == 1 || (count == -1 && errno == EINTR);
}

bool writeWhole(int fd, std::string_view text)
{
    const auto deadline = Clock::steady() + longestWait;
    while (!text.empty()) {
        const ssize_t count = write(fd, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
            continue;
        }
        const bool mayGoOn = count == -1 && (errno == EAGAIN || errno == EINTR);
        if (!mayGoOn || !waitUntilWritable(fd, deadline))
            return false;
    }
    return true;
}

} // namespace

void logTerminalFailure(const char* what, const std::string& tty)
{
    logText(LogImpl::critical, what, tty, "\n");
}

bool answerOnTerminal(const std::string& text, const std::string& tty, TerminalFailureReport report)
{
    const auto failed = [&](const char* what) { return report(what, tty), true; };
    const Descriptor terminal(openTerminal(tty));
    if (terminal.fd == -1)
        return failed("Error opening tty file for writing: ");
    if (fcntl(terminal.fd, F_SETFD, FD_CLOEXEC) == -1)
        return failed("Error setting flags to file: ");
    if (!writeWhole(terminal.fd, text))
        return failed("Error writing to file: ");
    return false;
}
