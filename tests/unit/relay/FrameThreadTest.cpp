#include "RelayFixture.h"

#include "TextSink.h"
#include "platform/zobridge.h"
#include "relay/io/FrameSocket.h"
#include "rte/BLL/core/BLLManager.h"

#include <boost/thread/thread.hpp>

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// The frame thread itself, on one end of a socket pair: it works beside configuration calls and ends when
// told.

namespace {

/// A real frame socket that opens onto a pair instead of a device.
class PairIo final : public FrameIo
{
public:
    explicit PairIo(int& otherEnd) : peer(otherEnd) {}
    ~PairIo() override
    {
        if (peer != -1)
            ::close(peer);
    }
    int open() override
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0)
            return -1;
        socket.adopt(ends[0]);
        if (peer != -1)
            ::close(peer);
        peer = ends[1];
        return ends[0];
    }
    void close() override { socket.close(); }
    [[nodiscard]] int descriptor() const override { return socket.descriptor(); }
    [[nodiscard]] int read(std::span<std::uint8_t> buffer) override { return socket.read(buffer); }
    [[nodiscard]] long write(std::span<const std::uint8_t> frame) override { return socket.write(frame); }
    void rest(std::chrono::microseconds duration) override { socket.rest(duration); }
    void wakeUp() override { socket.wakeUp(); }

private:
    int& peer;
    TextSink sink;
    FrameSocket socket{"br0_test", sink};
};

class FrameThread : public testing::Test
{
protected:
    static constexpr std::uint32_t uplink = 1;
    static constexpr std::uint32_t line = 7;

    void SetUp() override
    {
        ASSERT_EQ(zobridge::mngCreate("br0_dhcp"), 0);
        node->failing(vnode::Operation::createPseudoDevice, EEXIST);
        ASSERT_TRUE(engine.applyDefaultSettings());
        engine.setDraEnabled(true);
        ASSERT_TRUE(engine.start());
    }
    void TearDown() override { engine.stop(); }

    void give(const test::Bytes& frame)
    {
        ASSERT_EQ(::send(peer, frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
    }
    [[nodiscard]] test::Bytes take()
    {
        pollfd wanted{peer, POLLIN, 0};
        if (::poll(&wanted, 1, 60000) != 1)
            return {};
        test::Bytes frame(2048);
        const ssize_t size = ::recv(peer, frame.data(), frame.size(), 0);
        frame.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return frame;
    }

    int peer = -1;
    std::unique_ptr<test::TestNode> node =
        test::NodeBuilder().slot(3).vlan(100).eth(uplink, "0/1").subscriber(line, "0/2/5").use();
    dhcpraImpl engine{std::make_unique<PairIo>(peer), std::make_unique<test::FakeServerSender>()};
};

} // namespace

TEST_F(FrameThread, RelaysBesideConfigurationAndDumps)
{
    for (int round = 0; round < 50; ++round) {
        give(test::discover().on(line).vlan(100).build());
        std::ostringstream dump;
        engine.dhcpraDump(0, &dump);
        {
            const BLLManager::exclusiveLock_t global;
            const boost::lock_guard<boost::recursive_mutex> guard(engine.engineMutex());
            engine.getInterfaceById(line)->setUnicastExtension(dhcpraTypes::threeStateBool::yes);
        }
        engine.setShelfId("shelf" + std::to_string(round));
        engine.setDebugFlag(dhcpraTypes::debugFlag::message, round % 2 == 0);
        engine.loggingLevelSet(3);
        const test::Bytes out = take();
        ASSERT_FALSE(out.empty());
        ASSERT_TRUE(test::ParsedDhcpFrame(out).subOption82(1).has_value());
    }
    counters_t sum;
    engine.getSummedCounters(sum);
    EXPECT_EQ(sum[dhcpraTypes::counterDiscover], 50U);
}

// stop() joins the thread; the one who stops may hold the very lock that the frame thread waits for.
TEST_F(FrameThread, StopsWhileItWaitsForTheGlobalLock)
{
    const auto start = std::chrono::steady_clock::now();
    {
        const BLLManager::exclusiveLock_t global;
        ASSERT_TRUE(global.locked);
        give(test::discover().on(line).vlan(100).build());
        // Most likely the thread has read it by now and waits for the lock; if not, it rests on the socket.
        boost::this_thread::yield();
        engine.stop();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_TRUE(engine.getInterfaces().empty());
    ASSERT_TRUE(engine.applyDefaultSettings());
    engine.setDraEnabled(true);
    ASSERT_TRUE(engine.start());
    give(test::discover().on(line).vlan(100).build());
    EXPECT_FALSE(take().empty());
}
