#include "rte/BLL/core/RpcConnections.h"
#include "../rpc/RpcPeer.h"
#include "RpcLoop.h"

#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

using namespace test;

namespace {

/// Out of the way, so that descriptors that select() can hold are left for the loop.
constexpr int farDescriptors = 2048;

class Descriptor
{
public:
    explicit Descriptor(int number) : fd(number) {}
    Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() { reset(); }

    void reset()
    {
        if (fd != -1)
            close(std::exchange(fd, -1));
    }
    int get() const { return fd; }

private:
    int fd;
};

double cpuSeconds()
{
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

class Crowded : public Served
{
protected:
    void SetUp() override
    {
        rlimit limit{};
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
        if (limit.rlim_cur < farDescriptors + 1200)
            GTEST_SKIP() << "the hard limit of descriptors is too low";
        stream = *std::ranges::find(transports, SOCK_STREAM, typeOf); // each serves all programs
    }

    Descriptor peer() const
    {
        const Descriptor near(connectTo(addressOf(stream)));
        return Descriptor(fcntl(near.get(), F_DUPFD, farDescriptors));
    }

    static int farSocket()
    {
        const Descriptor near(socket(AF_INET, SOCK_STREAM, 0));
        return fcntl(near.get(), F_DUPFD, farDescriptors);
    }

    /// Connects a socket that stands already: a process without descriptors cannot make one.
    PeerSocket peerOn(int socket) const { return {PeerSocket::Made{socket}, addressOf(stream)}; }

    static bool answers(const PeerSocket& peer)
    {
        return exchange(peer, true, callMessage(5, firstProgram, increase, {7})) == replyMessage(5, 0, {8});
    }

    static Client firstOverUdp() { return clientOf(firstProgram, SOCK_DGRAM, transports); }
    static Client firstOverTcp() { return clientOf(firstProgram, SOCK_STREAM, transports); }

    static void expectCalm()
    {
        const double before = cpuSeconds();
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        EXPECT_LT(cpuSeconds() - before, 0.3);
    }

    static bool comesDownTo(std::size_t count)
    {
        for (int i = 0; i < 600 && descriptors().size() > count; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return descriptors().size() <= count;
    }

    int stream = -1; ///< a socket for new connections
};

/// All descriptors below a bound. With few allowed, the process has no other either.
class UsedUp
{
public:
    UsedUp(int bound, bool asLimit)
    {
        int fd = open("/dev/null", O_RDONLY);
        for (; fd != -1 && fd < bound; fd = open("/dev/null", O_RDONLY))
            used.emplace_back(fd);
        close(fd);
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit limit = before;
        limit.rlim_cur = asLimit ? static_cast<rlim_t>(bound) : before.rlim_cur;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    UsedUp(const UsedUp&) = delete;
    UsedUp& operator=(const UsedUp&) = delete;
    ~UsedUp() { setrlimit(RLIMIT_NOFILE, &before); }

    void freeOne() { used.pop_back(); }

private:
    std::vector<Descriptor> used;
    rlimit before{};
};

} // namespace

TEST_F(Crowded, AThousandConnectionsOpenedAndLeftHoldUpNobody)
{
    const Client steady = firstOverTcp();
    std::vector<Descriptor> left;
    for (int i = 0; i < 1100; ++i) {
        left.push_back(peer());
        if (i % 3 == 0) { // half a record, and silence
            ASSERT_EQ(send(left.back().get(), "\x80\0\0\x40half", 8, MSG_NOSIGNAL), 8);
        }
        if (i % 100 != 99)
            continue;
        EXPECT_EQ(call(firstOverUdp(), i), i + 1);
        EXPECT_EQ(call(firstOverTcp(), i), i + 1);
        EXPECT_EQ(call(clientOf(secondProgram, SOCK_STREAM, transports), i), i + 1);
        EXPECT_EQ(call(steady, i), i + 1) << "a peer that is not idle keeps its connection";
    }
    EXPECT_LE(descriptors().size(), transports.size() + RpcConnections::most);
    EXPECT_GE(descriptors().size(), RpcConnections::most * 15 / 16) << "no more than needed had to go";
    expectCalm();
    EXPECT_EQ(call(firstOverTcp(), 1), 2);
    left.clear();
    EXPECT_TRUE(comesDownTo(transports.size() + 1)); // that of the steady peer
    EXPECT_EQ(call(steady, 1), 2);
}

TEST_F(Crowded, APeerWaitsForADescriptorWhileOthersAreServed)
{
    struct Bound
    {
        const char* what;
        int descriptors;
        bool isLimit;
    };
    for (const Bound& bound : {Bound{"what select() can hold", FD_SETSIZE, false},
                               Bound{"what the process may have", FD_SETSIZE / 2, true}}) {
        SCOPED_TRACE(bound.what);
        ASSERT_TRUE(comesDownTo(transports.size()));
        const Client overUdp = firstOverUdp();
        int sockets[6];
        std::ranges::generate(sockets, farSocket);
        UsedUp all(bound.descriptors, bound.isLimit);

        bool isAnswered = false;
        std::thread newcomer([&] { isAnswered = answers(peerOn(sockets[0])); });
        const double before = cpuSeconds();
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            EXPECT_EQ(call(overUdp, i), i + 1);
        }
        EXPECT_LT(cpuSeconds() - before, 0.3);
        EXPECT_EQ(descriptors(), transports);
        all.freeOne();
        newcomer.join();
        EXPECT_TRUE(isAnswered);

        // From now on the one who was there before, and is idle, makes room for the next.
        std::vector<PeerSocket> idle;
        for (std::size_t i = 1; i < std::size(sockets); ++i) {
            idle.push_back(peerOn(sockets[i]));
            EXPECT_TRUE(answers(idle.back()));
            EXPECT_EQ(descriptors().size(), transports.size() + 1);
        }
    }
}
