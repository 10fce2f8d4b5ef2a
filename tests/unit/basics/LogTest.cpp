#include "log/Log.h"

#include <cstdlib>
#include <new>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Allocations of this size and more fail on this thread; 0: none do.
thread_local std::size_t failingSize = 0;
/// How many of them fail.
thread_local int failures = 0;

using Lines = std::vector<std::pair<int, std::string>>;

class Recorder : public LogImpl
{
public:
    explicit Recorder(Lines& to, bool buffersLines = true) : LogImpl(buffersLines), lines(to) {}
    void writeMessageToLog(const logData_t& data) override { lines.emplace_back(data.level, data.buffer); }

private:
    Lines& lines;
};

class LogTest : public testing::Test
{
protected:
    void SetUp() override
    {
        log.setLogLevel(LogImpl::debug);
        log.reset(new Recorder(lines));
        log.setMsgLevel(LogImpl::notice);
    }

    [[nodiscard]] static std::string stamped(const std::string& text)
    {
        return "[" + std::to_string(gettid()) + "] " + text;
    }
    [[nodiscard]] static Lines notice(const std::string& text) { return {{LogImpl::notice, stamped(text)}}; }

    Log log;
    Lines lines;
};

} // namespace

void* operator new(std::size_t size)
{
    if (failingSize != 0 && size >= failingSize && failures > 0) {
        --failures;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST_F(LogTest, PiecesOfEveryKindMakeOneLine)
{
    log.write("port ")
        .write(-7)
        .write(" of ")
        .write(4000000000U)
        .write("/")
        .write(static_cast<unsigned short>(65535));
    log << std::string(" is up");
    EXPECT_TRUE(lines.empty());
    log.write(std::string("\n"));
    EXPECT_EQ(lines, notice("port -7 of 4000000000/65535 is up")); // a newline on its own is not sent
}

TEST_F(LogTest, ANewlineSendsWhatStandsBeforeIt)
{
    const struct
    {
        const char* text;
        std::vector<std::string> sent;
    } rows[] = {
        {nullptr, {}},   {"one\ntwo", {"one\n"}},
        {"\n", {"two"}}, // on its own it ends the line and isn't sent
        {"\n", {""}},    {"a\n\n\nb\n", {"a\n", "", "", "b\n"}},
    };
    for (const auto& row : rows) {
        lines.clear();
        log.write(row.text);
        Lines expected;
        for (const std::string& text : row.sent)
            expected.emplace_back(LogImpl::notice, stamped(text));
        EXPECT_EQ(lines, expected) << (row.text != nullptr ? row.text : "no text");
    }
}

TEST_F(LogTest, OnlyMoreUrgentThanTheThresholdPasses)
{
    for (const auto level : {LogImpl::critical, LogImpl::warning, LogImpl::notice, LogImpl::debug}) {
        log.setMsgLevel(level);
        log.write("x\n");
    }
    EXPECT_EQ(lines, (Lines{{0, stamped("x\n")}, {1, stamped("x\n")}, {2, stamped("x\n")}}));
    lines.clear();
    log.setLogLevel(LogImpl::warning);
    log.setMsgLevel(LogImpl::warning);
    log.write("dropped and not kept");
    log.setMsgLevel(LogImpl::critical);
    log.write("kept\n");
    EXPECT_EQ(lines, (Lines{{0, stamped("kept\n")}}));
}

/// The stamp counts among the 999 bytes that may wait.
TEST_F(LogTest, AnEndlessLineIsFlushedPast999Bytes)
{
    const std::size_t room = 999 - stamped("").size();
    log.write(std::string(room, 'x'));
    EXPECT_TRUE(lines.empty());
    log.write("y");
    std::ostringstream id;
    id << std::hex << pthread_self();
    EXPECT_EQ(lines, notice(std::string(room, 'x') + "y [--- Log has flushed the buffer for thread " +
                            id.str() + "]\n"));
    log.write("z\n");
    EXPECT_EQ(lines.back().second, stamped("z\n"));
}

TEST_F(LogTest, ABackEndMayWantEveryWriteAndWithoutOneWritesLeaveNoTrace)
{
    log.reset(nullptr);
    log.setMsgLevel(LogImpl::notice);
    log.write("lost\nlost too");
    log.reset(new Recorder(lines, false));
    log.setMsgLevel(LogImpl::notice);
    log.write("a").write("b\n");
    EXPECT_EQ(lines, (Lines{{2, stamped("a")}, {2, stamped("b\n")}, {2, stamped("")}}));
}

TEST_F(LogTest, ForcedLevelAnswersAndReplacesTheWritersOwn)
{
    const struct
    {
        int level;
        bool enabled;
        const char* answer;
        Lines expected;
    } rows[] = {
        {0, true, "Debug level set to Critical(0)\n", {{0, stamped("x\n")}}},
        {1, true, "Debug level set to Warning(1)\n", {{1, stamped("x\n")}}},
        {2, true, "Debug level set to Notice(2)\n", {{2, stamped("x\n")}}},
        {3, true, "Debug level set to Debug(3)\n", {}}, // drops everything
        {9, true, "Debug level set to unknown(9)\n", {}},
        {0, false, "Debug level disabled\n", {{1, stamped("x\n")}}},
    };
    for (const auto& row : rows) {
        std::ostringstream out;
        log.setDebugLevel(&out, static_cast<LogImpl::logLevel_t>(row.level), row.enabled);
        EXPECT_EQ(out.str(), row.answer);
        log.setMsgLevel(LogImpl::warning);
        log.write("x\n");
        EXPECT_EQ(lines, row.expected) << row.answer;
        lines.clear();
    }
}

/// pthread gives a new thread the id of one that has ended: it must not go on with its line.
TEST_F(LogTest, AThreadWithAReusedIdStartsAfresh)
{
    std::thread::native_handle_type first{};
    std::thread::native_handle_type second{};
    bool reused = false;
    for (int tries = 0; tries < 50 && !reused; ++tries) {
        lines.clear();
        std::thread([&] {
            first = pthread_self();
            log.setMsgLevel(LogImpl::notice);
            log.write("unfinished");
        }).join();
        std::thread([&] {
            second = pthread_self();
            log.write("own\n");
        }).join();
        reused = first == second;
    }
    if (!reused)
        GTEST_SKIP() << "this machine does not reuse thread ids";
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].first, LogImpl::critical);
    EXPECT_EQ(lines[0].second.substr(lines[0].second.find(' ')), " own\n");
}

TEST_F(LogTest, NoMemoryFlushesWhatStandsAndTriesAgainOnce)
{
    log.write("before ");
    const std::string big = std::string(5000, 'x') + "\n";
    failingSize = big.size(); // the growing buffer; the Recorder's copies so far are small
    failures = 1;
    log << big;
    EXPECT_EQ(std::exchange(failures, 2), 0);
    failingSize = 20'000;
    EXPECT_THROW(log << std::string(failingSize - 1, 'y'), std::bad_alloc);
    failingSize = 0;
    log.write("goes on\n"); // the lock went back
    EXPECT_EQ(lines, (Lines{{2, stamped("before ")}, {2, stamped(big)}, {2, stamped("goes on\n")}}));
}

TEST_F(LogTest, ThreadsDoNotMix)
{
    constexpr int threads = 8;
    constexpr int rounds = 200;
    std::vector<std::thread> writers;
    for (int n = 0; n < threads; ++n) {
        writers.emplace_back([this, n] {
            for (int i = 0; i < rounds; ++i) {
                log.setMsgLevel(n % 2 == 0 ? LogImpl::notice : LogImpl::warning);
                log.write("writer ").write(n).write(" says ").write(
                    std::string(static_cast<std::size_t>(n + 1), 'a'));
                log.write(" and ends\n");
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    ASSERT_EQ(lines.size(), std::size_t{threads * rounds});
    for (const auto& [level, text] : lines) {
        const int n = std::atoi(text.c_str() + text.find("writer ") + 7);
        EXPECT_EQ(text.substr(text.find(' ')), " writer " + std::to_string(n) + " says " +
                                                   std::string(static_cast<std::size_t>(n + 1), 'a') +
                                                   " and ends\n");
        EXPECT_EQ(level, n % 2 == 0 ? LogImpl::notice : LogImpl::warning);
    }
}
