#include "rte/BLL/core/TerminalAnswer.h"
#include "support/CapturedLog.h"
#include "support/TemporaryFolder.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

class TerminalAnswerTest : public testing::Test
{
protected:
    void SetUp() override { std::signal(SIGPIPE, SIG_IGN); } // as main does

    void expectFailure(const std::string& text, const std::string& tty, const std::string& line)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(answerOnTerminal(text, tty));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << tty;
        EXPECT_TRUE(log.has(LogImpl::critical, line + tty)) << log.text();
    }

    TemporaryFolder folder;
    CapturedLog log;
};

/// Both ends of a pseudo-terminal; output is passed on as it is.
struct PseudoTerminal
{
    PseudoTerminal()
    {
        termios settings{};
        cfmakeraw(&settings);
        std::array<char, 128> text{};
        EXPECT_EQ(openpty(&master, &slave, text.data(), &settings, nullptr), 0);
        name = text.data();
    }
    ~PseudoTerminal()
    {
        close(slave);
        close(master);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    std::string read(std::size_t size) const
    {
        std::string text(size, '\0');
        std::size_t got = 0;
        while (got < size) {
            const ssize_t count = ::read(master, text.data() + got, size - got);
            if (count <= 0)
                break;
            got += static_cast<std::size_t>(count);
        }
        text.resize(got);
        return text;
    }

    int master = -1;
    int slave = -1;
    std::string name;
};

} // namespace

/// More than a terminal holds: the rest goes on as the other side reads.
TEST_F(TerminalAnswerTest, ALongTextWaitsForASlowReader)
{
    const PseudoTerminal terminal;
    const std::string text(200'000, 'x');
    std::string shown;
    std::thread reader([&] { shown = terminal.read(text.size()); });
    EXPECT_FALSE(answerOnTerminal(text, terminal.name));
    reader.join();
    EXPECT_EQ(shown, text);
}

TEST_F(TerminalAnswerTest, WhatIsNotReadCostsTwoSecondsAndAFullDiskNone)
{
    const PseudoTerminal terminal;
    const std::string fifo = folder.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
    for (const std::string& path : {terminal.name, fifo, std::string("/dev/full")})
        expectFailure(std::string(200'000, 'x'), path, "Error writing to file: ");
    close(reader);
}

TEST_F(TerminalAnswerTest, AnExistingFileIsOverwrittenFromItsStart)
{
    const std::string path = folder.file("answers", "0123456789");
    EXPECT_FALSE(answerOnTerminal("abc", path));
    EXPECT_EQ(folder.read("answers"), "abc3456789");
}

TEST_F(TerminalAnswerTest, WhatCannotBeOpened)
{
    const std::string fifo = folder.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::vector<std::string> paths{folder.path("absent"), folder.path("."), fifo};
    const std::string disk = folder.path("disk");
    if (mknod(disk.c_str(), S_IFBLK | 0600, makedev(7, 250)) == 0) // not every user may
        paths.push_back(disk);
    for (const std::string& path : paths)
        expectFailure("text", path, "Error opening tty file for writing: ");
}
