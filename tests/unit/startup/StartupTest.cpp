#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <net/if.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <random>
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <rpc/rpc.h>

#include <gtest/gtest.h>

namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

/// No port mapper, no other daemon's ports, no log daemon: a network and a /run of our own.
bool enterOwnWorld()
{
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", "/run", "tmpfs", 0, nullptr) != 0)
        return false;
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const bool up = ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    close(fd);
    return up;
}

constexpr int noOwnWorld = 99;

/// The daemon as a child; what it says on standard error and output is read through a pipe.
class Daemon
{
public:
    /// @p prepare runs in the child, in its own world.
    explicit Daemon(const std::function<void()>& prepare = [] {})
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        pid = fork();
        if (pid == 0) {
            dup2(ends[1], STDERR_FILENO);
            dup2(ends[1], STDOUT_FILENO);
            const int program = open(DAEMON, O_PATH); // prepare() may hide its folder
            if (!enterOwnWorld())
                _exit(noOwnWorld);
            const rlimit many{4096, 4096};
            setrlimit(RLIMIT_NOFILE, &many);
            prepare();
            std::array<char, 11> name{"the-daemon"};
            const std::array<char*, 2> arguments{name.data(), nullptr};
            fexecve(program, arguments.data(), environ);
            _exit(noOwnWorld + 1);
        }
        close(ends[1]);
        output = ends[0];
    }
    ~Daemon()
    {
        if (!status) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        close(output);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Reads until @p text has been said @p times; false when it ends or is silent for long.
    bool says(const std::string& text, int times = 1)
    {
        const auto deadline = steady_clock::now() + seconds(20);
        while (count(text) < times && steady_clock::now() < deadline) {
            pollfd wait{output, POLLIN, 0};
            std::array<char, 1024> piece{};
            if (poll(&wait, 1, 500) <= 0)
                continue;
            const ssize_t size = read(output, piece.data(), piece.size());
            if (size <= 0)
                break;
            said.append(piece.data(), static_cast<std::size_t>(size));
        }
        return count(text) >= times;
    }

    /// Waits for the end: the status of waitpid, or nothing after 20 seconds.
    std::optional<int> end()
    {
        for (int i = 0; i < 2000 && !status; ++i) {
            int value = 0;
            if (waitpid(pid, &value, WNOHANG) == pid)
                status = value;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return status;
    }

    [[nodiscard]] int count(const std::string& text) const
    {
        int found = 0;
        for (std::size_t at = said.find(text); at != std::string::npos; at = said.find(text, at + 1))
            ++found;
        return found;
    }

    /// The rest of the line of /proc/PID/FILE that begins with @p field.
    [[nodiscard]] std::string fact(const std::string& file, const std::string& field) const
    {
        std::ifstream in("/proc/" + std::to_string(pid) + "/" + file);
        for (std::string line; std::getline(in, line);) {
            if (line.starts_with(field))
                return line.substr(field.size());
        }
        return {};
    }

    pid_t pid = -1;
    std::string said;

private:
    int output = -1;
    std::optional<int> status;
};

class Startup : public testing::Test
{
protected:
    void SetUp() override
    {
        Daemon first([] { _exit(0); });
        if (first.end() != 0)
            GTEST_SKIP() << "may not make namespaces here";
    }
};

std::string tagged(const Daemon& daemon, const std::string& text)
{
    return "[" + std::to_string(daemon.pid) + "] " + text;
}

} // namespace

/// Neither a port mapper nor a board table: it says so and goes on; a signal ends it without ceremony.
TEST_F(Startup, GoesOnWithoutPortMapperAndBoardTable)
{
    Daemon daemon;
    ASSERT_TRUE(daemon.says("0x20000204/536871428, version 1.\n", 2)) << daemon.said;
    EXPECT_TRUE(daemon.said.starts_with(tagged(daemon, "----> the-daemon\n"))) << daemon.said;
    EXPECT_TRUE(daemon.says(tagged(daemon, "dhcpra_fun: Starting main RPC loop - custom made.\n")));
    for (const char* program : {"0x20000202/536871426", "0x20000203/536871427", "0x20000204/536871428"}) {
        EXPECT_TRUE(daemon.says("Cannot register UDP RPC service " + std::string(program)));
        EXPECT_TRUE(daemon.says("Cannot register TCP RPC service " + std::string(program)));
    }
    EXPECT_EQ(daemon.count("Starting main RPC loop"), 1); // one loop for all programs

    const auto ignored = std::stoull(daemon.fact("status", "SigIgn:"), nullptr, 16);
    EXPECT_TRUE(ignored & 1ULL << (SIGPIPE - 1));
    EXPECT_FALSE(ignored & 1ULL << (SIGTERM - 1));
    std::istringstream limits(daemon.fact("limits", "Max open files"));
    rlim_t soft = 0;
    limits >> soft;
    EXPECT_EQ(soft, 1024U);

    ASSERT_EQ(kill(daemon.pid, SIGTERM), 0);
    const auto status = daemon.end();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status) && WTERMSIG(*status) == SIGTERM);
    EXPECT_EQ(daemon.count("stopping"), 0);
}

namespace {

/// A port mapper that takes connections and never says a word.
void setUpSilentPortMapper()
{
    const int listening = socket(AF_UNIX, SOCK_STREAM, 0); // stays open in the daemon
    const sockaddr_un address{AF_UNIX, "/run/rpcbind.sock"};
    if (bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening, 64) != 0)
        _exit(noOwnWorld);
}

/// Whether a call of procedure 0 is answered at the first TCP port that the daemon listens on.
bool answersInItsNetwork(const Daemon& daemon)
{
    unsigned int port = 0;
    const std::string file = daemon.fact("net/tcp", "   0: 0100007F:");
    if (std::sscanf(file.c_str(), "%X 00000000:0000 0A", &port) != 1) // 0A: listening
        return false;
    bool answered = false;
    std::thread([&] { // only this thread changes over
        const std::string network = "/proc/" + std::to_string(daemon.pid) + "/ns/net";
        const int fd = open(network.c_str(), O_RDONLY | O_CLOEXEC);
        const bool inside = setns(fd, CLONE_NEWNET) == 0;
        close(fd);
        sockaddr_in address{AF_INET, htons(static_cast<std::uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
        int peer = RPC_ANYSOCK;
        CLIENT* const client = inside ? clnttcp_create(&address, 0x20000202, 1, &peer, 0, 0) : nullptr;
        if (client == nullptr)
            return;
        const auto filter = reinterpret_cast<xdrproc_t>(xdr_int);
        int nothing = 0;
        const timeval patience{5, 0};
        answered = clnt_call(client, 105, filter, reinterpret_cast<char*>(&nothing), filter,
                             reinterpret_cast<char*>(&nothing), patience) == RPC_SUCCESS;
        clnt_destroy(client);
    })
        .join();
    return answered;
}

} // namespace

/// Whoever waits for the port mapper, the peers that know the port do not.
TEST_F(Startup, ServesWhileThePortMapperIsSilent)
{
    Daemon daemon(setUpSilentPortMapper);
    ASSERT_TRUE(daemon.says("Starting main RPC loop")) << daemon.said;
    EXPECT_TRUE(answersInItsNetwork(daemon));
    EXPECT_EQ(daemon.count("Cannot register"), 0) << "the port mapper has not been silent";
}

namespace {

struct BoardFile
{
    const char* name;
    std::string content;
    bool isXml = false; ///< but not what is expected
    off_t size = 0;     ///< filled up to this with zeros
};

std::string randomBytes()
{
    std::minstd_rand random(7);
    std::string bytes(5000, '\0');
    std::ranges::generate(bytes, [&random] { return static_cast<char>(random()); });
    return bytes;
}

class BoardFiles : public Startup, public testing::WithParamInterface<BoardFile>
{};

/// Puts a board name and this board table in their places. Other files there are out of sight.
void setUpBoard(const BoardFile& table)
{
    const std::string folder = "/opt/qm7100/neroot/active/bridge_SW/bin/";
    mount("none", "/tmp", "tmpfs", 0, nullptr);
    mount("none", "/opt", "tmpfs", 0, nullptr);
    std::ofstream("/tmp/get_board_id") << "QXB";
    std::filesystem::create_directories(folder);
    const std::string file = folder + "bll_config.xml";
    std::ofstream(file) << table.content;
    if (table.size != 0 && truncate(file.c_str(), table.size) != 0)
        _exit(noOwnWorld);
}

} // namespace

/// The table is read before main, when much of the process does not stand yet: a damaged one is told about,
/// and the daemon goes on without.
TEST_P(BoardFiles, ADamagedBoardTableDoesNotEndTheStart)
{
    Daemon daemon([] { setUpBoard(GetParam()); });
    ASSERT_TRUE(daemon.says("Starting main RPC loop")) << daemon.said;
    EXPECT_EQ(daemon.count("StorageMng::load(): could not parse file"), GetParam().isXml ? 0 : 1)
        << daemon.said;
}

INSTANTIATE_TEST_SUITE_P(
    Files, BoardFiles,
    testing::Values(BoardFile{"Empty", ""}, BoardFile{"Cut", "<a><BLL><BOARD Id=\"QX"},
                    BoardFile{"PlainText", "BLL=1\n"}, BoardFile{"RandomBytes", randomBytes()},
                    BoardFile{"WrongTag", "<a><BLL><BLE Name='dhcpra'/></BLL></a>", true},
                    BoardFile{"NineMegabytes", "<a>", false, 9'000'000},
                    BoardFile{"HundredMegabytes", "<a>", false, 100'000'000}),
    [](const auto& file) { return std::string(file.param.name); });

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
/// Whichever entity cannot start: status 0, and the loop that runs already is interrupted and joined.
class FailedStart : public Startup, public testing::WithParamInterface<const char*>
{};

TEST_P(FailedStart, EndsLikeACleanExit)
{
    Daemon daemon([] {
        setenv("LD_PRELOAD", FAIL_THREAD, 1);
        setenv("FAIL_THREAD", GetParam(), 1);
    });
    const auto status = daemon.end();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status)) << WTERMSIG(*status);
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    daemon.says("never said"); // reads the rest
    const bool loopRan = std::string(GetParam()) != "1";
    EXPECT_EQ(daemon.count(tagged(daemon, "dhcpra_fun: RPC main loop stopping.\n")), loopRan ? 1 : 0)
        << daemon.said;
    EXPECT_EQ(daemon.count("0x20000204/"), 0); // later entities are not started
}

INSTANTIATE_TEST_SUITE_P(Entities, FailedStart, testing::Values("1", "2", "3"));
#endif
