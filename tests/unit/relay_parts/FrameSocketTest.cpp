#include "relay/io/FrameSocket.h"
#include "relay/io/PacketSocket.h"

#include "support/CapturedLog.h"
#include "support/FakeFrameOwner.h"
#include "vnode/process/TapDevice.h"

#include <array>
#include <boost/thread/thread.hpp>
#include <cerrno>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct SilentSink final : FakeFrameOwner
{
    SilentSink() { debugWanted = false; }
};

class FrameSocketTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::array<int, 2> ends{};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
        socket.adopt(ends[0]);
        peer = ends[1];
    }
    void TearDown() override
    {
        if (peer != -1)
            ::close(peer);
    }

    SilentSink sink;
    FrameSocket socket{"br0_test", sink};
    int peer = -1;
    std::array<std::uint8_t, 16> buffer{};
};

} // namespace

TEST_F(FrameSocketTest, KeepsFrameBorders)
{
    ASSERT_EQ(::send(peer, "abc", 3, 0), 3);
    ASSERT_EQ(::send(peer, "de", 2, 0), 2);
    EXPECT_EQ(socket.read(buffer), 3);
    EXPECT_EQ(socket.read(buffer), 2);
    EXPECT_EQ(buffer[1], 'e');

    const std::array<std::uint8_t, 4> frame{9, 8, 7, 6};
    EXPECT_EQ(socket.write(frame), 4);
    EXPECT_EQ(::recv(peer, buffer.data(), buffer.size(), 0), 4);
    EXPECT_EQ(buffer[3], 6);
}

TEST_F(FrameSocketTest, TellsClosedFromBroken)
{
    ::close(peer);
    peer = -1;
    EXPECT_EQ(socket.read(buffer), 0);
    socket.close();
    EXPECT_EQ(socket.descriptor(), -1);
    EXPECT_EQ(socket.read(buffer), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FrameSocketTest, InterruptionEndsAWaitAndARest)
{
    const auto start = std::chrono::steady_clock::now();
    for (const bool resting : {false, true}) {
        boost::thread thread([&] {
            if (resting)
                return socket.rest(std::chrono::seconds(60));
            EXPECT_THROW(static_cast<void>(socket.read(buffer)), boost::thread_interrupted);
        });
        thread.interrupt();
        socket.wakeUp();
        thread.join(); // the test program has a time limit
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(FrameSocketTest, AWakeUpWithoutInterruptionLosesNoFrame)
{
    socket.wakeUp();
    boost::thread writer([this] { static_cast<void>(::send(peer, "xyz", 3, 0)); });
    EXPECT_EQ(socket.read(buffer), 3);
    writer.join();
}

// A busy thread can end without having seen its wake-up. The next one on the socket must keep its rests: they
// are the rate limit, and the pace of the attempts to open a missing device.
TEST_F(FrameSocketTest, AnOldWakeUpShortensNoRest)
{
    socket.wakeUp();
    for (int round = 0; round < 2; ++round) {
        const auto start = std::chrono::steady_clock::now();
        socket.rest(std::chrono::milliseconds(20));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    }
}

// Without the right to raw sockets the first step already fails; either way the reason is named and nothing
// is left open.
TEST(PacketSocket, SaysWhatFailed)
{
    const CapturedLog log;
    const SilentSink sink;
    int mtu = 1500;
    const int before = ::dup(0);
    ::close(before);
    EXPECT_EQ(openPacketSocket("no_such_device_at_all", mtu, sink), -1);
    const bool mayOpen = ::geteuid() == 0 && log.text().find("IF index") != std::string::npos;
    EXPECT_EQ(log.text(), mayOpen ? "DHCPRA: dhcpra_socket_create(): unable to obtain IF index!\n"
                                  : "DHCPRA: dhcpra_socket_create(): can't create RAW Ethernet socket!\n");
    const int after = ::dup(0);
    ::close(after);
    EXPECT_EQ(after, before);
}

// A frame of another device must never be taken for one behind a record, also when it comes between the steps
// of the opening: each of them says a debug text, and at each of them the other device has traffic.
TEST(PacketSocket, ReadsNoFrameOfAnotherDevice)
{
    if (::unshare(CLONE_NEWNET) != 0)
        GTEST_SKIP() << "needs the right to make a network namespace";
    std::string reason;
    vnode::TapDevice own("br0_test", {.quiet = true, .bringUp = true, .mac = {}});
    vnode::TapDevice other("other", {.quiet = true, .bringUp = true, .mac = {}});
    ASSERT_TRUE(own.open(reason) && other.open(reason)) << reason;

    struct TrafficSink final : DebugSink
    {
        explicit TrafficSink(vnode::TapDevice& busyDevice) : device(busyDevice) {}
        [[nodiscard]] bool wantsDebugText() const override { return true; }
        void log(const char*, ...) const override { EXPECT_EQ(device.send(frame), vnode::IoResult::done); }
        vnode::TapDevice& device;
        const std::vector<std::uint8_t> frame = std::vector<std::uint8_t>(60, 0xFF);
    };
    const TrafficSink traffic(other);
    FrameSocket socket("br0_test", traffic);
    ASSERT_NE(socket.open(), -1);
    ASSERT_EQ(own.send(std::vector<std::uint8_t>(61, 0xFF)), vnode::IoResult::done);
    std::array<std::uint8_t, 64> buffer{};
    EXPECT_EQ(socket.read(buffer), 61);
    int size = 0;
    socklen_t length = sizeof size;
    ASSERT_EQ(::getsockopt(socket.descriptor(), SOL_SOCKET, SO_RCVBUF, &size, &length), 0);
    EXPECT_GT(size, 200000); // more than the kernel gives by itself, or as much as it allows
}
