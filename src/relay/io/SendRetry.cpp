#include "relay/io/SendRetry.h"

#include "log/LogText.h"

#include <cerrno>

namespace {

void logFailure(const FrameIo& io, const char* engine, int error, std::size_t size, const std::string& dump)
{
    logText(LogImpl::critical, engine, "::sendFrame - socket send error, errno:", error, ".\n");
    logText(LogImpl::critical, "Socket id is ", io.descriptor(), ", Frame size is ",
            static_cast<unsigned int>(size), ".\nDump frame: \n", dump, "\n");
}

void restart(FrameIo& io)
{
    logText(LogImpl::critical, "Restarting socket...\n");
    io.close();
    logText(LogImpl::critical, "New socket id is ", io.open(), ".\n");
}

} // namespace

bool sendWithRetry(FrameIo& io, const char* engine, std::span<const std::uint8_t> frame,
                   const std::function<std::string()>& dump)
{
    for (int iteration = 1; iteration <= sendAttempts; ++iteration) {
        if (io.write(frame) != -1)
            return true;
        const int error = errno;
        logFailure(io, engine, error, frame.size(), dump());
        if (error != EAGAIN)
            restart(io);
        io.rest(sendBackOff);
        logText(LogImpl::critical, "Try again, iteration: ", iteration, "\n");
    }
    return false;
}
