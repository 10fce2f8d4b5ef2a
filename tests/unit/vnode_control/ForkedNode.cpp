#include "ForkedNode.h"

#include "common/Clock.h"
#include "vnode/control/ControlServer.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>

namespace test {

namespace {

/// The process around the model, reduced to names.
class FakeHost : public vnode::control::Host
{
public:
    explicit FakeHost(vnode::Node& model) : node(model) {}

    int createPseudoDevice(const std::string& name) override { return node.createPseudoDevice(name); }
    std::vector<vnode::control::DeviceReport> deviceReports() override
    {
        std::vector<vnode::control::DeviceReport> reports;
        for (int i = 0; i < 500; ++i) // enough for several pages
            reports.push_back({"port" + std::to_string(i),
                               "port",
                               vnode::control::LinkState::up,
                               {7, 8},
                               {{"rxFrames", i}, {"txFrames", 2}}});
        return reports;
    }
    void clearCounters() override {}
    void factsChanged() override {}
    vnode::Time now() const override { return Clock::steady(); }
    vnode::Time started() const override { return start; }

private:
    vnode::Node& node;
    vnode::Time start = Clock::steady();
};

/// The child's whole life; answers its exit status.
int serve(const vnode::NodeDescription& description, const std::string& socket, int life)
{
    std::string reason;
    vnode::control::StampPublisher stamps;
    if (!stamps.open(vnode::control::stampPathOf(socket), reason))
        return 10;
    vnode::Node node(description);
    FakeHost host(node);
    stamps.publish(node.picture().generation);
    vnode::EventLoop loop;
    vnode::control::Service service(node, host, stamps);
    vnode::control::ControlServer server(loop, service);
    if (!loop.watch(life, [&] { loop.stop(); }) || !server.listen(socket, reason))
        return 11;
    loop.run();
    return 0;
}

} // namespace

void ForkedNode::start()
{
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(pipe[1]);
        ::signal(SIGPIPE, SIG_IGN);
        ::alarm(60);                                              // outlives no test run
        const int status = serve(description, socket(), pipe[0]); // an exception ends it with a signal
        std::fflush(nullptr);
        ::_exit(status);
    }
    ::close(pipe[0]);
    life = pipe[1];
    for (int i = 0; i < 500; ++i) {
        const int fd = connect();
        if (fd >= 0) {
            ::close(fd);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    FAIL() << "the node does not come up";
}

void ForkedNode::end()
{
    if (child < 0)
        return;
    ::close(life);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
    child = -1;
}

void ForkedNode::kill()
{
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(life);
    child = -1;
}

void ForkedNode::freeze() const { ::kill(child, SIGSTOP); }
void ForkedNode::thaw() const { ::kill(child, SIGCONT); }

int ForkedNode::connect() const
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket().copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return fd;
    ::close(fd);
    return -1;
}

} // namespace test
