#include "relay/io/SendRetry.h"

#include "support/CapturedLog.h"
#include "support/FakeFrameIo.h"

#include <gtest/gtest.h>

namespace {

using test::FakeFrameIo;

const std::vector<std::uint8_t> frame{1, 2, 3};

std::string failureText(int error)
{
    return "dhcpraImpl::sendFrame - socket send error, errno:" + std::to_string(error) +
           ".\nSocket id is 5, Frame size is 3.\nDump frame: \nTHE DUMP";
}

} // namespace

// A full queue is waited for; any other failure restarts the socket; five attempts in all.
TEST(SendRetry, TriesAgainByTheKindOfFailure)
{
    const std::string restarted = "Restarting socket...\nNew socket id is 9.\n";
    const struct
    {
        std::vector<int> errors;
        std::size_t restarts, rests;
        std::string log; ///< its beginning
    } cases[] = {
        {{}, 0, 0, ""},
        {{EAGAIN}, 0, 1, failureText(11) + "Try again, iteration: 1"},
        {{ENXIO}, 1, 1, failureText(6) + restarted + "Try again, iteration: 1"},
        {{EAGAIN, EAGAIN, EAGAIN, EAGAIN, EAGAIN, EAGAIN}, 0, 5, failureText(11)},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.errors.size());
        const CapturedLog log;
        FakeFrameIo io;
        io.writeErrors.assign(each.errors.begin(), each.errors.end());
        io.openAnswers = {9};
        const bool lost = each.errors.size() > 5;
        EXPECT_EQ(sendWithRetry(io, "dhcpraImpl", frame, [] { return std::string("THE DUMP"); }), !lost);
        EXPECT_EQ(io.written, std::vector<FakeFrameIo::Frame>(lost ? 0 : 1, frame));
        EXPECT_EQ(std::pair(io.opened, io.closed), std::pair(int(each.restarts), int(each.restarts)));
        EXPECT_EQ(io.rests, std::vector(each.rests, std::chrono::microseconds(30000)));
        EXPECT_TRUE(lost ? log.text().starts_with(each.log) : log.text() == each.log) << log.text();
        EXPECT_EQ(io.writeErrors.size(), lost ? 1U : 0U);
        EXPECT_EQ(log.has(LogImpl::critical, "Try again, iteration: 5"), lost);
    }
}
