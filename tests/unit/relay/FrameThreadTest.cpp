#include "RelayFixture.h"
#include "RelayFixtureV6.h"

#include "platform/zobridge.h"
#include "relay/entity/dhcpra_config.h"
#include "rte/BLL/core/GlobalLock.h"
#include "support/PairIo.h"

#include <atomic>
#include <boost/thread/thread.hpp>
#include <cerrno>
#include <chrono>
#include <map>
#include <mutex>

// The frame threads of both families, each on one end of a socket pair: beside management calls and hooks,
// and when they are told to end.

namespace {

using dhcpraTypes::threeStateBool;
using std::chrono::seconds;
using std::chrono::steady_clock;
using test::option6;

std::unique_ptr<dhcpraImpl> makeEngine(dhcpraImpl*, test::PairIo* io)
{
    return std::make_unique<dhcpraImpl>(std::unique_ptr<FrameIo>(io),
                                        std::make_unique<test::FakeServerSender>());
}
std::unique_ptr<dhcpraV6Impl> makeEngine(dhcpraV6Impl*, test::PairIo* io)
{
    return std::make_unique<dhcpraV6Impl>(std::unique_ptr<FrameIo>(io));
}

template <class Engine>
class FrameThread : public BoardV6
{
protected:
    static constexpr bool isV6 = std::is_same_v<Engine, dhcpraV6Impl>;

    void SetUp() override
    {
        // The pseudo device is there from an earlier run.
        ASSERT_EQ(zobridge::mngCreate(Engine::interface_name), 0);
        node->failing(vnode::Operation::createPseudoDevice, EEXIST);
        begin();
    }
    void TearDown() override
    {
        engine->stop();
        lock_t::lockingPeriod = boost::posix_time::seconds(300);
    }

    void begin()
    {
        ASSERT_TRUE(engine->applyDefaultSettings());
        engine->setDraEnabled(true);
        ASSERT_TRUE(engine->start());
    }
    /// A client's frame that leaves as one frame.
    [[nodiscard]] bool giveRequest() const
    {
        return io->give(isV6 ? fromClient(1).build() : test::discover().on(line5).vlan(100).build());
    }
    [[nodiscard]] static bool somebodyWaitsForTheLock()
    {
        for (const auto& [thread, state] : globalLockState::lock().getStateMap())
            if (state.waitingExclusive)
                return true;
        return false;
    }
    [[nodiscard]] static bool eventually(const std::function<bool()>& condition)
    {
        for (const auto end = steady_clock::now() + seconds(60); steady_clock::now() < end;) {
            if (condition())
                return true;
            boost::this_thread::sleep(boost::posix_time::milliseconds(1));
        }
        return false;
    }

    test::PairIo* io = new test::PairIo;
    std::unique_ptr<Engine> engine = makeEngine(static_cast<Engine*>(nullptr), io);
};
using Engines = testing::Types<dhcpraImpl, dhcpraV6Impl>;
TYPED_TEST_SUITE(FrameThread, Engines);

} // namespace

TYPED_TEST(FrameThread, StartsOnceAndStartsAgain)
{
    EXPECT_TRUE(this->engine->start());
    EXPECT_EQ(this->engine->getIdentity().localMac, this->boardMac);
    for (const auto filter : {vnode::Filter::dhcp, vnode::Filter::dhcpv6, vnode::Filter::icmpv6})
        EXPECT_EQ(this->node->attached(filter),
                  (filter == vnode::Filter::dhcp) != this->isV6 ? TypeParam::interface_name : "");
    this->engine->stop();
    EXPECT_EQ(this->io->descriptor(), -1);
    EXPECT_TRUE(this->engine->getInterfaces().empty());
    this->begin();
    ASSERT_TRUE(this->giveRequest());
    EXPECT_FALSE(this->io->take().empty());
}

TYPED_TEST(FrameThread, DoesNotStartWithoutBridgeOrFilter)
{
    this->engine->stop();
    const CapturedLog log;
    this->node->failing(vnode::Operation::driverOpen, ENOENT, 1);
    EXPECT_FALSE(this->engine->start());
    this->node->failing(vnode::Operation::driverIoctl, EINVAL, 1);
    EXPECT_FALSE(this->engine->start());
    const std::string there = "DHCPRA: Unable to create pseudo device (rv=0).\n";
    EXPECT_EQ(log.text(), there + "DHCPRA: Cannot open bridge.\n" + there + "DHCPRA: Cannot attach filter" +
                              (this->isV6 ? " dhcpv6.\n" : ".\n"));
}

// stop() joins the thread; the one who stops may hold the very lock that the frame thread waits for.
TYPED_TEST(FrameThread, StopsWhileItWaitsForTheGlobalLock)
{
    const auto start = steady_clock::now();
    const exclusiveLock_t global;
    ASSERT_TRUE(this->giveRequest());
    ASSERT_TRUE(this->eventually(this->somebodyWaitsForTheLock));
    this->engine->stop();
    EXPECT_LT(steady_clock::now() - start, seconds(20));
}

// The thread handles the frame without the global lock once it did not get it; its hook is not to wait for
// the lock all over again.
TYPED_TEST(FrameThread, AHookDoesNotWaitForALockThatTheThreadDidNotGet)
{
    std::atomic<bool> told{false};
    std::atomic<bool> gotIt{false};
    this->engine->setFrameSentHook([&](const auto&, dhcpraTypes::counterId*) {
        const exclusiveLock_t global;
        gotIt = global.locked;
        told = true;
        return 0;
    });
    const CapturedLog log; // of the report
    const exclusiveLock_t global;
    lock_t::lockingPeriod = boost::posix_time::milliseconds(300); // the report sets it back to 300 seconds
    ASSERT_TRUE(this->giveRequest());
    EXPECT_FALSE(this->io->take().empty());
    EXPECT_TRUE(this->eventually([&] { return told.load(); }));
    EXPECT_FALSE(gotIt);
}

// Hooks come and go, and take the global lock, while management calls hold it in turn with the frames. What
// both sides count under that lock comes out even; without it counts are lost.
TYPED_TEST(FrameThread, HooksMayTakeTheGlobalLockBesideManagement)
{
    constexpr int atLeast = 100;
    std::atomic<int> told{0};
    int underLock = 0;
    const auto count = [&underLock] {
        const exclusiveLock_t global;
        const int before = underLock;
        boost::this_thread::yield();
        underLock = before + (global.locked ? 1 : 0);
    };
    std::atomic<bool> ending{false};
    std::atomic<int> managed{0};
    boost::thread management([&] {
        while (!ending) {
            this->engine->setFrameSentHook([&](const auto&, dhcpraTypes::counterId*) {
                count();
                ++told;
                return 0;
            });
            if constexpr (TestFixture::isV6)
                this->engine->setNdpCheckHook([&](const icmpV6Message&) {
                    count();
                    ++told;
                    return NdpVerdict{};
                });
            count();
            ++managed;
            this->engine->setShelfId("shelf" + std::to_string(managed.load()));
        }
    });
    ASSERT_TRUE(this->eventually([&] { return managed > 0; })); // the hooks are in
    int expected = 0;
    for (int frame = 0; frame < atLeast || managed < atLeast; ++frame) {
        ASSERT_TRUE(this->giveRequest());
        expected += this->io->take().empty() ? 0 : 1;
        if (this->isV6) {
            ASSERT_TRUE(this->io->give(this->neighbourSolicitation(this->line5).build()));
            expected += this->io->take().empty() ? 0 : 1;
        }
    }
    this->engine->stop(); // the last frame was told
    ending = true;
    management.join();
    EXPECT_EQ(told, expected);
    EXPECT_EQ(underLock, managed + told);
}

namespace {

/// What peers and operators ask of both engines, over and over on a thread of its own, while this lives.
class Management
{
public:
    Management(dhcpraImpl& v4, dhcpraV6Impl& v6, std::uint32_t lineId, std::uint32_t namedId)
        : engine(v4), engineV6(v6), line(lineId), named(namedId), thread([this] {
              for (int round = 0; !ending; ++round) {
                  change(round % 2 != 0);
                  read();
              }
          })
    {}
    ~Management()
    {
        ending = true;
        thread.join();
    }

private:
    void change(bool odd)
    {
        const threeStateBool onOrUnset = odd ? threeStateBool::yes : threeStateBool::notSet;
        config.setDra6CircuitIdCVlan(odd);
        config.setDra6RemoteIdFormat(odd ? "$PORT_REM_ID" : "$SYSNAME");
        config.setSystemName(odd ? "node" : "");
        config.on_updateShelfId(odd ? "a shelf with a name longer than a short one" : "sh1");
        config.on_portAddEvent(named, odd ? "3/6" : "3/7");
        config.setDra6RemoteIdVal(line, odd ? "remote id of the line" : "");
        config.setDra6EnterpriseNumPerVlan(line, odd ? 1 : 0, 100);
        config.setDra6InterfaceIdFormat(line, 100, odd ? "v$VLAN m$CLNT_MAC" : "");
        config.setDra6InterfaceIdMode(line, 100,
                                      odd ? dhcpraInterface::DHCPRA_INTF_IIDMODE_CUSTOM
                                          : dhcpraInterface::DHCPRA_INTF_IIDMODE_NONE);
        // A record that comes and goes, of a VLAN without traffic.
        config.vlanDra6SetEnabled(200, onOrUnset);
        engineV6.setDebugFlag(dhcpraTypes::debugFlag::message, odd);
        engine.setDebugFlag(dhcpraTypes::debugFlag::message, odd);
    }

    void read()
    {
        counters_t sum;
        countersPerVlan_t perVlan;
        config.getDra6SummedCounters(sum);
        config.getDra6NdpAllCounters(line, sum);
        config.getDra6CountersPerVlan(line, perVlan);
        dhcpra_config::vlans_t vlans;
        config.getDra6SettingsPerVlan(vlans);
        std::ostringstream out;
        engine.dhcpraDump(0, &out);
        engineV6.dhcpraDump(0, &out);
        engineV6.dhcpraTestSet("dhcprav6TestSetCustomCidStr", "$INTF $CLNT_MAC", &out);
        engineV6.dhcpraTestRun("dhcprav6TestRunCid", "available", &out);
        std::string id;
        std::vector<std::uint8_t> bytes;
        engine.genCircuitIdByInterfaceName("0/2/5", 100, 4095, id, bytes,
                                           dhcpraTypes::idGenType::managementQuery);
    }

    dhcpraImpl& engine;
    dhcpraV6Impl& engineV6;
    dhcpra_config config{&engine, &engineV6};
    const std::uint32_t line, named;
    std::atomic<bool> ending{false};
    boost::thread thread;
};

class FrameThreadV6 : public FrameThread<dhcpraV6Impl>
{
protected:
    dhcpraImpl v4{std::make_unique<test::FakeFrameIo>(), std::make_unique<test::FakeServerSender>()};
};

} // namespace

TEST_F(FrameThreadV6, RelaysBesideManagement)
{
    constexpr int each = 20;
    std::map<int, int> leftAs;
    {
        const Management management(v4, *engine, line5, named);
        for (int round = 0; round < each; ++round) {
            ASSERT_TRUE(giveRequest());
            ASSERT_TRUE(io->give(fromServer({option6(9, messageFromServer(2))}).build()));
            ASSERT_TRUE(io->give(neighbourSolicitation(line5).build()));
        }
        for (int frame = 0; frame < 3 * each; ++frame) {
            const test::Bytes out = io->take();
            ASSERT_FALSE(out.empty());
            const bool isUdp = out.at(107 + 18 + 6) == 17;
            ++leftAs[isUdp ? out.at(107 + 18 + 48) : -1];
        }
    }
    EXPECT_EQ(leftAs, (std::map<int, int>{{12, each}, {2, each}, {-1, each}}));
    counters_t sum;
    engine->getSummedCounters(sum);
    counters_t expected(17);
    expected[0] = expected[12] = each;
    EXPECT_EQ(sum, expected);
    countersPerVlan_t perVlan;
    engine->getNdpSummedCountersPerVlan(perVlan);
    EXPECT_EQ(perVlan, (countersPerVlan_t{{100, {each, 0}}}));
}

TEST_F(FrameThreadV6, StopsAndStartsInTheMidstOfTraffic)
{
    const Management management(v4, *engine, line5, named);
    for (int round = 0; round < 6; ++round) {
        for (int frame = 0; frame < 3; ++frame)
            ASSERT_TRUE(giveRequest());
        engine->stop();
        begin();
        ASSERT_FALSE(HasFatalFailure());
    }
    ASSERT_TRUE(giveRequest());
    EXPECT_EQ(io->take().at(107 + 18 + 48), 12);
}

// The engine lock is the inner one, and the frame thread gives it back first, also where it keeps it to the
// end of a frame: whoever has got the global lock finds the engine's free.
class LockOrderV6 : public RelayFixtureV6
{
protected:
    void expectFreeWhile(const test::Dhcpv6Frame& frame)
    {
        std::atomic<int> got{0};
        std::atomic<bool> ending{false};
        int blocked = 0;
        boost::thread other([&] {
            while (!ending) {
                const exclusiveLock_t global;
                const boost::unique_lock<boost::recursive_mutex> own(engine.engineMutex(),
                                                                     boost::try_to_lock);
                blocked += own.owns_lock() ? 0 : 1;
                ++got;
            }
        });
        // Until the other thread has had its turns in between.
        const auto end = steady_clock::now() + seconds(60);
        for (int round = 0; round < 3000 || (got < 100 && steady_clock::now() < end); ++round)
            handle(frame);
        ending = true;
        other.join();
        EXPECT_GE(got, 100);
        EXPECT_EQ(blocked, 0);
    }
};

TEST_F(LockOrderV6, TheEngineLockGoesFirst)
{
    expectFreeWhile(fromClient(1));
    engine.setDraEnabled(false);
    expectFreeWhile(fromClient(1));
}
