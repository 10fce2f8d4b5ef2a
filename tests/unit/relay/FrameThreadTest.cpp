#include "RelayFixture.h"

#include "platform/zobridge.h"
#include "rte/BLL/core/BLLManager.h"
#include "support/PairIo.h"

#include <boost/thread/thread.hpp>

#include <cerrno>

// The frame thread itself, on one end of a socket pair: it works beside configuration calls and ends when
// told.

namespace {

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

    std::unique_ptr<test::TestNode> node =
        test::NodeBuilder().slot(3).vlan(100).eth(uplink, "0/1").subscriber(line, "0/2/5").use();
    test::PairIo* io = new test::PairIo;
    dhcpraImpl engine{std::unique_ptr<FrameIo>(io), std::make_unique<test::FakeServerSender>()};
};

} // namespace

TEST_F(FrameThread, RelaysBesideConfigurationAndDumps)
{
    for (int round = 0; round < 50; ++round) {
        ASSERT_TRUE(io->give(test::discover().on(line).vlan(100).build()));
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
        const test::Bytes out = io->take();
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
        ASSERT_TRUE(io->give(test::discover().on(line).vlan(100).build()));
        // Most likely the thread has read it by now and waits for the lock; if not, it rests on the socket.
        boost::this_thread::yield();
        engine.stop();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_TRUE(engine.getInterfaces().empty());
    ASSERT_TRUE(engine.applyDefaultSettings());
    engine.setDraEnabled(true);
    ASSERT_TRUE(engine.start());
    ASSERT_TRUE(io->give(test::discover().on(line).vlan(100).build()));
    EXPECT_FALSE(io->take().empty());
}
