// Real crashes and reports, of the program beside this one.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool addressSanitizer = true;
#else
constexpr bool addressSanitizer = false;
#endif

struct Outcome
{
    int status = -1;     ///< as waitpid gives it
    std::string errors;  ///< standard error of the program and its reporter
    std::string syslogs; ///< standard output, where the probe's syslog goes

    [[nodiscard]] bool died(int signal) const { return WIFSIGNALED(status) && WTERMSIG(status) == signal; }
    [[nodiscard]] bool went() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
    [[nodiscard]] bool reported() const { return errors.find("Backtrace:") != std::string::npos; }
};

/// Reads both pipes until program and reporter have closed them.
void readAll(std::array<int, 2> fds, std::array<std::string*, 2> texts)
{
    std::size_t open = fds.size();
    while (open > 0) {
        std::array<pollfd, 2> polled{pollfd{fds[0], POLLIN, 0}, pollfd{fds[1], POLLIN, 0}};
        if (poll(polled.data(), polled.size(), 20'000) <= 0)
            break;
        for (std::size_t i = 0; i < fds.size(); ++i) {
            if (polled[i].revents == 0)
                continue;
            char piece[4096];
            const ssize_t got = read(fds[i], piece, sizeof(piece));
            if (got > 0) {
                texts[i]->append(piece, static_cast<std::size_t>(got));
            } else {
                close(fds[i]);
                fds[i] = -1;
                --open;
            }
        }
    }
}

Outcome run(const std::vector<std::string>& arguments, const char* name = nullptr)
{
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    EXPECT_EQ(pipe2(out.data(), O_CLOEXEC) + pipe2(err.data(), O_CLOEXEC), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        std::vector<char*> argv{const_cast<char*>(name != nullptr ? name : CRASH_PROBE)};
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        setenv("ASAN_OPTIONS", "detect_stack_use_after_return=0", 1);
        execv(CRASH_PROBE, argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    Outcome outcome;
    readAll({out[0], err[0]}, {&outcome.syslogs, &outcome.errors});
    waitpid(pid, &outcome.status, 0);
    return outcome;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// Whether the reporter's map of itself stands in the text.
bool hasMap(const std::string& text)
{
    return std::regex_search(text, std::regex("r-xp [^\n]*selfdebug_probe"));
}

class MapFile
{
public:
    MapFile() : name(std::filesystem::temp_directory_path() / ("selfdebug-map-" + std::to_string(getpid())))
    {
        std::ofstream(name) << std::string(100'000, 'x'); // of an earlier report
    }
    ~MapFile() { std::filesystem::remove(name); }

    [[nodiscard]] std::string content() const
    {
        std::ostringstream text;
        text << std::ifstream(name).rdbuf();
        return text.str();
    }

    const std::filesystem::path name;
};

TEST(FatalReport, NullWriteInAnyThreadIsReportedAndStillKills)
{
    for (const char* where : {"null", "null-in-thread"}) {
        const Outcome outcome = run({where, "/nonexistent/unused"});
        EXPECT_TRUE(outcome.died(SIGSEGV)) << where;
        EXPECT_TRUE(
            contains(outcome.errors,
                     "\nFatal signal received: 11: Segmentation fault\nFault address: 0\n\nBacktrace:\n"))
            << outcome.errors;
        EXPECT_TRUE(std::regex_search(
            outcome.errors,
            std::regex("\n/[^\n]*/selfdebug_probe\\(probe::writeThroughNull\\(\\)\\+0x[0-9a-f]+"
                       "\\) \\[0x[0-9a-f]+\\]\n")))
            << outcome.errors;
        EXPECT_TRUE(contains(outcome.errors, "\n\nMemory map:\n\n"))
            << "the map of a crash never goes to the file";
        EXPECT_TRUE(hasMap(outcome.errors));
        EXPECT_TRUE(contains(outcome.syslogs, "syslog 3: Fatal signal received: 11: Segmentation fault\n"));
        EXPECT_TRUE(contains(outcome.syslogs, "syslog 3: Backtrace:\n"));
        EXPECT_FALSE(contains(outcome.syslogs, "syslog 3: \n")) << "empty lines stay away";
    }
}

TEST(FatalReport, AbortHasNoFaultAddress)
{
    const Outcome outcome = run({"abort"});
    EXPECT_TRUE(outcome.died(SIGABRT));
    EXPECT_TRUE(contains(outcome.errors, "\nFatal signal received: 6: Aborted\n\nBacktrace:\n"))
        << outcome.errors;
}

TEST(FatalReport, ASignalFromOutsideHasAnAddressOfNothing)
{
    const Outcome outcome = run({"killed"});
    EXPECT_TRUE(outcome.died(SIGSEGV));
    EXPECT_TRUE(contains(outcome.errors, "Segmentation fault\nFault address: 0\n")) << outcome.errors;
}

TEST(FatalReport, StackOverflowIsReportedWhereTheThreadHasASignalStack)
{
    for (const char* where : {"overflow-main", "overflow-with-signal-stack"}) {
        const Outcome outcome = run({where});
        EXPECT_TRUE(outcome.died(SIGSEGV)) << where << outcome.status;
        EXPECT_TRUE(contains(outcome.errors, "(probe::dig(char volatile*)+0x")) << where << outcome.errors;
    }
}

TEST(FatalReport, StackOverflowWithoutASignalStackKillsSilently)
{
    if (addressSanitizer)
        GTEST_SKIP() << "the sanitizer gives every thread a signal stack";
    const Outcome outcome = run({"overflow-without-signal-stack"});
    EXPECT_TRUE(outcome.died(SIGSEGV));
    EXPECT_FALSE(outcome.reported());
}

TEST(ManualReport, AStuckThreadIsShownAndGoesOn)
{
    const MapFile file;
    const Outcome outcome = run({"stuck", file.name});
    EXPECT_TRUE(outcome.went()) << outcome.status;
    EXPECT_TRUE(contains(outcome.errors, "probe::stuckForLong()")) << outcome.errors;
    EXPECT_FALSE(contains(outcome.errors, "Fatal signal"));
    EXPECT_TRUE(contains(outcome.errors, "\nMemory map dumped to file: " + file.name.string() + "\n\n"));
    EXPECT_FALSE(contains(outcome.errors, "Memory map:"));
    EXPECT_TRUE(hasMap(file.content()));
    EXPECT_FALSE(contains(file.content(), "xxxx")) << "replaces what was there";
    EXPECT_EQ(outcome.syslogs.find("buffered before the fork;"),
              outcome.syslogs.rfind("buffered before the fork;"));
}

TEST(ManualReport, AThreadReportsItself)
{
    const Outcome outcome = run({"own"});
    EXPECT_TRUE(outcome.went());
    EXPECT_EQ(outcome.errors.find("\nBacktrace:\n"), 0u) << outcome.errors;
    EXPECT_TRUE(contains(outcome.errors, "\n\nMemory map:\n\n")) << "no file is set";
}

TEST(ManualReport, TheMapGoesToTheReportWhenTheFileCannotTakeIt)
{
    const std::string failed =
        "\nFailed dumping memory map  to file. Will dump it to stderr and syslog.\n\n\nMemory map:\n\n";
    for (const char* file : {"/nonexistent/map", "/dev/full"}) {
        const Outcome outcome = run({"own", file});
        EXPECT_TRUE(outcome.went());
        EXPECT_TRUE(contains(outcome.errors, failed)) << outcome.errors;
        EXPECT_TRUE(hasMap(outcome.errors));
    }
}

TEST(ManualReport, AThreadThatHasGoneAnswersFalse)
{
    const Outcome outcome = run({"dead"});
    EXPECT_TRUE(outcome.went());
    EXPECT_FALSE(outcome.reported());
}

TEST(ManualReport, SwitchingOffRestoresTheDefaultAndRefusesRequests)
{
    EXPECT_TRUE(run({"switched-off"}).went());
}

TEST(ManualReport, SwitchingNeverMeetsASignalOnItsWay)
{
    const Outcome outcome = run({"switch-under-fire", "/dev/null"});
    EXPECT_TRUE(outcome.went()) << outcome.status;
}

TEST(Reporter, IsNeededForEverythingElse)
{
    const Outcome outcome = run({"before-init"});
    EXPECT_TRUE(outcome.went());
    const std::string text = "Error: SelfDebugger not initialized (please call the init() function).";
    EXPECT_EQ(outcome.syslogs, "syslog 3: " + text + "\nsyslog 3: " + text + "\n");
    EXPECT_EQ(outcome.errors, text);
}

TEST(Reporter, IsForkedOnce) { EXPECT_TRUE(run({"second-init"}).went()); }

TEST(Reporter, MayDieWithoutHarmToTheInterruptedCode)
{
    const Outcome outcome = run({"outlive-reporter"});
    EXPECT_TRUE(outcome.went());
    const std::string text = "Error sending slfDbgMsg: ret=-1, errno=32\n";
    EXPECT_EQ(outcome.errors, text + text + "Error sending slfDbgMsg\n");
}

TEST(Reporter, SurvivesRecordsThatLie)
{
    const Outcome outcome = run({"broken-records", "/dev/null"});
    EXPECT_TRUE(outcome.went());
    EXPECT_TRUE(contains(outcome.errors, "\nFatal signal received: 11: ")) << outcome.errors;
    EXPECT_TRUE(contains(outcome.errors, "\nBacktrace:\n\nMemory map dumped to file: /dev/null\n\n"))
        << outcome.errors;
}

TEST(Reporter, ShowsItselfUnderANameOfItsOwn)
{
    // The kernel's name of the program is cut to "selfdebug_probe".
    const Outcome outcome = run({"show-reporter", "secret"}, "./a-name-long-enough-for-the-reporter");
    EXPECT_TRUE(contains(outcome.syslogs, "comm=[dbg selfdebug].\n")) << outcome.syslogs;
    EXPECT_TRUE(contains(outcome.syslogs, "cmdline=[dbg selfdebug]probe].")) << outcome.syslogs;
    EXPECT_FALSE(contains(outcome.syslogs, "secret"));
}

} // namespace
