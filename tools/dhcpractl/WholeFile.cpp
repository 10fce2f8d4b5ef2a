#include "tools/dhcpractl/WholeFile.h"

#include "tools/dhcpractl/Failures.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace dhcpractl {

namespace {

class SignalsWait
{
public:
    SignalsWait()
    {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
            sigaddset(&ending, signal);
        sigprocmask(SIG_BLOCK, &ending, &before);
    }
    ~SignalsWait() { sigprocmask(SIG_SETMASK, &before, nullptr); }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;

private:
    sigset_t before{};
};

} // namespace

void writeWholeFile(const std::string& file, const std::string& text)
{
    const SignalsWait untilRenamed;
    const std::string beside = file + ".new";
    std::ofstream stream(beside, std::ios::trunc);
    stream << text;
    stream.close();
    if (!stream || std::rename(beside.c_str(), file.c_str()) != 0) {
        std::remove(beside.c_str());
        throw UsageError("cannot write " + file);
    }
}

bool closeStandardOutput()
{
    const bool written = static_cast<bool>(std::cout.flush());
    return (close(STDOUT_FILENO) == 0 || errno == EBADF) && written;
}

} // namespace dhcpractl
