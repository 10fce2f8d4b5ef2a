#include "relay/io/SendRetry.h"

#include "support/CapturedLog.h"
#include "support/FakeFrameIo.h"

#include <gtest/gtest.h>

namespace {

using test::FakeFrameIo;

const std::vector<std::uint8_t> frame{1, 2, 3};

bool send(FakeFrameIo& io)
{
    return sendWithRetry(io, "dhcpraImpl", frame, [] { return std::string("THE DUMP"); });
}

std::string failureText(int error)
{
    return "dhcpraImpl::sendFrame - socket send error, errno:" + std::to_string(error) +
           ".\nSocket id is 5, Frame size is 3.\nDump frame: \nTHE DUMP";
}

} // namespace

TEST(SendRetry, WritesOnceAndSaysNothingWhenAllIsWell)
{
    const CapturedLog log;
    FakeFrameIo io;
    EXPECT_TRUE(send(io));
    EXPECT_EQ(io.written, std::vector<FakeFrameIo::Frame>{frame});
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(io.rests.empty());
}

TEST(SendRetry, WaitsForAFullQueueWithoutRestart)
{
    const CapturedLog log;
    FakeFrameIo io;
    io.writeErrors = {EAGAIN};
    EXPECT_TRUE(send(io));
    EXPECT_EQ(io.written.size(), 1U);
    EXPECT_EQ(io.opened + io.closed, 0);
    EXPECT_EQ(io.rests, std::vector{std::chrono::microseconds(30000)});
    EXPECT_EQ(log.text(), failureText(11) + "Try again, iteration: 1");
}

TEST(SendRetry, RestartsTheSocketOnAnyOtherFailure)
{
    const CapturedLog log;
    FakeFrameIo io;
    io.writeErrors = {ENXIO};
    io.openAnswers = {9};
    EXPECT_TRUE(send(io));
    EXPECT_EQ(io.closed, 1);
    EXPECT_EQ(io.opened, 1);
    EXPECT_EQ(log.text(),
              failureText(6) + "Restarting socket...\nNew socket id is 9.\nTry again, iteration: 1");
}

TEST(SendRetry, LosesTheFrameAfterFiveAttempts)
{
    const CapturedLog log;
    FakeFrameIo io;
    io.writeErrors.assign(6, EAGAIN);
    EXPECT_FALSE(send(io));
    EXPECT_TRUE(io.written.empty());
    EXPECT_EQ(io.writeErrors.size(), 1U);
    EXPECT_EQ(io.rests.size(), 5U);
    EXPECT_TRUE(log.has(LogImpl::critical, "Try again, iteration: 5"));
}
