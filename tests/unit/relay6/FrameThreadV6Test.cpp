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

// The frame thread itself, on one end of a socket pair: it works beside management calls and ends when told.

namespace {

using dhcpraTypes::threeStateBool;
using test::option6;

/// What peers and operators ask of the engine, over and over on a thread of its own, while this lives.
class Management
{
public:
    Management(dhcpraV6Impl& engineV6, std::uint32_t lineId, std::uint32_t namedId)
        : engine(engineV6), line(lineId), named(namedId), thread([this] {
              for (int round = 0; !ending; ++round) {
                  change(round);
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
    void change(int round)
    {
        const bool odd = round % 2 != 0;
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
        config.vlanDra6SetInterfaceID(200, onOrUnset);
        config.vlanDra6SetRemoteID(200, onOrUnset);
        engine.setDebugFlag(dhcpraTypes::debugFlag::message, odd);
    }

    void read()
    {
        counters_t sum;
        countersPerVlan_t perVlan;
        config.getDra6SummedCounters(sum);
        config.getDra6NdpSummedCounters(sum);
        config.getDra6NdpAllCounters(line, sum);
        config.getDra6CountersPerVlan(line, perVlan);
        config.getDra6NdpSummedCountersPerVlan(perVlan);
        dhcpra_config::vlans_t vlans;
        config.getDra6SettingsPerVlan(vlans);
        std::ostringstream out;
        engine.dhcpraDump(0, &out);
        engine.dhcpraTestSet("dhcprav6TestSetCustomCidStr", "$INTF $CLNT_MAC", &out);
        engine.dhcpraTestRun("dhcprav6TestRunCid", "available", &out);
        std::string id;
        std::vector<std::uint8_t> bytes;
        engine.genInterfaceIdByInterfaceName("0/2/5", 100, 4095, id, bytes,
                                             dhcpraTypes::idGenType::managementQuery);
    }

    dhcpraImpl v4{std::make_unique<test::FakeFrameIo>(), std::make_unique<test::FakeServerSender>()};
    dhcpraV6Impl& engine;
    dhcpra_config config{&v4, &engine};
    const std::uint32_t line, named;
    std::atomic<bool> ending{false};
    boost::thread thread;
};

class FrameThreadV6 : public BoardV6
{
protected:
    void SetUp() override
    {
        // The pseudo device is there from an earlier run.
        ASSERT_EQ(zobridge::mngCreate("br0_dhcpv6"), 0);
        node->failing(vnode::Operation::createPseudoDevice, EEXIST);
        engine.setFrameSentHook(
            [this](const dhcpraV6Message&, dhcpraTypes::counterId*) { return ++told != 0; });
        engine.setNdpCheckHook([](const icmpV6Message&) { return NdpVerdict{}; });
        begin();
    }
    void TearDown() override { engine.stop(); }

    void begin()
    {
        ASSERT_TRUE(engine.applyDefaultSettings());
        engine.setDraEnabled(true);
        ASSERT_TRUE(engine.start());
    }
    [[nodiscard]] bool giveOneOfEach() const
    {
        return io->give(fromClient(1).build()) &&
               io->give(fromServer({option6(9, messageFromServer(2))}).build()) &&
               io->give(neighbourSolicitation(line5).build());
    }
    [[nodiscard]] bool knowsTheLine() const
    {
        const boost::lock_guard<boost::recursive_mutex> guard(engine.engineMutex());
        return engine.getInterfaceById(line5) != nullptr;
    }

    std::atomic<int> told{0};
    test::PairIo* io = new test::PairIo;
    dhcpraV6Impl engine{std::unique_ptr<FrameIo>(io)};
};

} // namespace

TEST_F(FrameThreadV6, RelaysBesideManagement)
{
    constexpr int each = 20;
    std::map<int, int> leftAs;
    {
        const Management management(engine, line5, named);
        for (int round = 0; round < each; ++round)
            ASSERT_TRUE(giveOneOfEach());
        for (int frame = 0; frame < 3 * each; ++frame) {
            const test::Bytes out = io->take();
            ASSERT_FALSE(out.empty());
            const bool isUdp = out.at(107 + 18 + 6) == 17;
            ++leftAs[isUdp ? out.at(107 + 18 + 48) : -1];
        }
    }
    EXPECT_EQ(leftAs, (std::map<int, int>{{12, each}, {2, each}, {-1, each}}));
    counters_t sum;
    engine.getSummedCounters(sum);
    counters_t expected(17);
    expected[0] = expected[12] = each;
    EXPECT_EQ(sum, expected);
    engine.getNdpSummedCounters(sum);
    EXPECT_EQ(sum, (counters_t{each, 0}));
    engine.stop(); // the last frame was told
    EXPECT_EQ(told, 2 * each);
}

TEST_F(FrameThreadV6, StopsAndStartsInTheMidstOfTraffic)
{
    const Management management(engine, line5, named);
    for (int round = 0; round < 6; ++round) {
        for (int frame = 0; frame < 3; ++frame)
            ASSERT_TRUE(giveOneOfEach());
        if (round % 2 == 0) {
            engine.stop();
        } else {
            // Whoever stops may hold the very lock that the frame thread waits for.
            const exclusiveLock_t global;
            engine.stop();
        }
        EXPECT_EQ(io->descriptor(), -1);
        EXPECT_FALSE(knowsTheLine());
        begin();
        ASSERT_FALSE(HasFatalFailure());
    }
    ASSERT_TRUE(io->give(fromClient(1).build()));
    EXPECT_EQ(io->take().at(107 + 18 + 48), 12);
}

// The engine lock is the inner one, and the frame thread gives it back first, also where it keeps it to the
// end of a frame and where a frame is lost: whoever has got the global lock finds the engine's free.
class LockOrderV6 : public RelayFixtureV6
{
protected:
    /// How often another thread got the global lock, but not the engine's, while the frame was handled.
    int blockedBy(const test::Dhcpv6Frame& frame)
    {
        std::atomic<bool> ending{false};
        int blocked = 0;
        boost::thread other([&] {
            while (!ending) {
                const exclusiveLock_t global;
                const boost::unique_lock<boost::recursive_mutex> own(engine.engineMutex(),
                                                                     boost::try_to_lock);
                blocked += own.owns_lock() ? 0 : 1;
            }
        });
        for (int round = 0; round < 5000; ++round)
            handle(frame);
        ending = true;
        other.join();
        return blocked;
    }
};

TEST_F(LockOrderV6, TheEngineLockGoesFirst)
{
    EXPECT_EQ(blockedBy(fromClient(1)), 0);
    engine.setDraEnabled(false);
    EXPECT_EQ(blockedBy(fromClient(1)), 0);
}
