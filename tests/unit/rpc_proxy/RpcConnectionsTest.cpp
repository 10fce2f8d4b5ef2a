#include "rte/BLL/core/RpcConnections.h"
#include "RpcLoop.h"

#include <ctime>
#include <fcntl.h>

using namespace test;

namespace {

/// Out of the way, so that descriptors that select() can hold are left for the loop.
constexpr int farDescriptors = 2048;

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
    }

    static PeerSocket farPeer()
    {
        const int near = socket(AF_INET, SOCK_STREAM, 0);
        const int far = fcntl(near, F_DUPFD, farDescriptors);
        close(near);
        return {PeerSocket::Made{far}, stream};
    }
};

} // namespace

/// What the process may have, and a thousand peers, are the bounds in the system tests; here it is what
/// select() can hold.
TEST_F(Crowded, APeerWaitsForADescriptorWhileOthersAreServed)
{
    std::vector<int> used;
    do
        used.push_back(open("/dev/null", O_RDONLY));
    while (used.back() < FD_SETSIZE);

    bool isAnswered = false;
    std::thread newcomer([&] { isAnswered = answers(farPeer()); });
    const double before = cpuSeconds();
    for (int i = 0; i < 10; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_TRUE(answersOverUdp());
    }
    EXPECT_LT(cpuSeconds() - before, 0.3);
    EXPECT_EQ(descriptors(), transports);
    close(used.front());
    newcomer.join();
    EXPECT_TRUE(isAnswered);

    // From now on the one who was there before, and is idle, makes room for the next.
    std::vector<PeerSocket> idle;
    for (int i = 0; i < 3; ++i) {
        idle.push_back(farPeer());
        EXPECT_TRUE(answers(idle.back()));
        EXPECT_EQ(descriptors().size(), transports.size() + 1);
    }
    for (std::size_t i = 1; i < used.size(); ++i)
        close(used[i]);
}
