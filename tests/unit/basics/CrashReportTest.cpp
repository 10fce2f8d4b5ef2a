// Real crashes and reports, of the program beside this one.

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <sys/wait.h>

#include "support/TemporaryFolder.h"

using namespace std::string_literals;

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

/// Runs the program, by a name of its own if told so, until it and its reporter have closed their output.
Outcome run(const std::string& arguments, const std::string& name = CRASH_PROBE)
{
    const TemporaryFolder folder;
    const std::string command = "exec env ASAN_OPTIONS=detect_stack_use_after_return=0 bash -c 'exec -a " +
                                name + " " CRASH_PROBE " " + arguments + " 2>" + folder.path("errors") + "'";
    Outcome outcome;
    FILE* const output = popen(command.c_str(), "r");
    for (int letter = std::fgetc(output); letter != EOF; letter = std::fgetc(output))
        outcome.syslogs += static_cast<char>(letter);
    outcome.status = pclose(output);
    outcome.errors = folder.read("errors");
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

TEST(FatalReport, NullWriteInAnyThreadIsReportedAndStillKills)
{
    for (const char* where : {"null", "null-in-thread"}) {
        const Outcome outcome = run(where + " /nonexistent/unused"s);
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
    const Outcome outcome = run("abort");
    EXPECT_TRUE(outcome.died(SIGABRT));
    EXPECT_TRUE(contains(outcome.errors, "\nFatal signal received: 6: Aborted\n\nBacktrace:\n"))
        << outcome.errors;
}

TEST(FatalReport, StackOverflowIsReportedWhereTheThreadHasASignalStack)
{
    for (const char* where : {"overflow-main", "overflow-with-signal-stack"}) {
        const Outcome outcome = run(where);
        EXPECT_TRUE(outcome.died(SIGSEGV)) << where << outcome.status;
        EXPECT_TRUE(contains(outcome.errors, "(probe::dig(char volatile*)+0x")) << where << outcome.errors;
    }
}

TEST(FatalReport, StackOverflowWithoutASignalStackKillsSilently)
{
    if (addressSanitizer)
        GTEST_SKIP() << "the sanitizer gives every thread a signal stack";
    const Outcome outcome = run("overflow-without-signal-stack");
    EXPECT_TRUE(outcome.died(SIGSEGV));
    EXPECT_FALSE(outcome.reported());
}

TEST(ManualReport, AStuckThreadIsShownAndGoesOn)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("map", std::string(100'000, 'x')); // of an earlier report
    const Outcome outcome = run("stuck " + file);
    EXPECT_TRUE(outcome.went()) << outcome.status;
    EXPECT_TRUE(contains(outcome.errors, "probe::stuckForLong()")) << outcome.errors;
    EXPECT_FALSE(contains(outcome.errors, "Fatal signal"));
    EXPECT_TRUE(contains(outcome.errors, "\nMemory map dumped to file: " + file + "\n\n"));
    EXPECT_FALSE(contains(outcome.errors, "Memory map:"));
    EXPECT_TRUE(hasMap(folder.read("map")));
    EXPECT_FALSE(contains(folder.read("map"), "xxxx")) << "replaces what was there";
    EXPECT_EQ(outcome.syslogs.find("buffered before the fork;"),
              outcome.syslogs.rfind("buffered before the fork;"));
}

TEST(ManualReport, TheMapGoesToTheReportWhenTheFileCannotTakeIt)
{
    const std::string failed =
        "\nFailed dumping memory map  to file. Will dump it to stderr and syslog.\n\n\nMemory map:\n\n";
    for (const char* file : {"/nonexistent/map", "/dev/full"}) {
        const Outcome outcome = run("own "s + file);
        EXPECT_TRUE(outcome.went());
        EXPECT_TRUE(contains(outcome.errors, failed)) << outcome.errors;
        EXPECT_TRUE(hasMap(outcome.errors));
    }
}

TEST(ManualReport, AThreadThatHasGoneAnswersFalse)
{
    const Outcome outcome = run("dead");
    EXPECT_TRUE(outcome.went());
    EXPECT_FALSE(outcome.reported());
}

TEST(ManualReport, SwitchingOffRestoresTheDefaultAndRefusesRequests)
{
    EXPECT_TRUE(run("switched-off").went());
}

TEST(ManualReport, SwitchingNeverMeetsASignalOnItsWay)
{
    const Outcome outcome = run("switch-under-fire /dev/null");
    EXPECT_TRUE(outcome.went()) << outcome.status;
}

TEST(Reporter, IsNeededForEverythingElse)
{
    const Outcome outcome = run("before-init");
    EXPECT_TRUE(outcome.went());
    const std::string text = "Error: SelfDebugger not initialized (please call the init() function).";
    EXPECT_EQ(outcome.syslogs, "syslog 3: " + text + "\nsyslog 3: " + text + "\n");
    EXPECT_EQ(outcome.errors, text);
}

TEST(Reporter, IsForkedOnce) { EXPECT_TRUE(run("second-init").went()); }

TEST(Reporter, MayDieWithoutHarmToTheInterruptedCode)
{
    const Outcome outcome = run("outlive-reporter");
    EXPECT_TRUE(outcome.went());
    const std::string text = "Error sending slfDbgMsg: ret=-1, errno=32\n";
    EXPECT_EQ(outcome.errors, text + text + "Error sending slfDbgMsg\n");
}

TEST(Reporter, SurvivesRecordsThatLie)
{
    const Outcome outcome = run("broken-records /dev/null");
    EXPECT_TRUE(outcome.went());
    EXPECT_TRUE(contains(outcome.errors, "\nFatal signal received: 11: ")) << outcome.errors;
    EXPECT_TRUE(contains(outcome.errors, "\nBacktrace:\n\nMemory map dumped to file: /dev/null\n\n"))
        << outcome.errors;
}

TEST(Reporter, ShowsItselfUnderANameOfItsOwn)
{
    // The kernel's name of the program is cut to "selfdebug_probe".
    const Outcome outcome = run("show-reporter secret", "./a-name-long-enough-for-the-reporter");
    EXPECT_TRUE(contains(outcome.syslogs, "comm=[dbg selfdebug].\n")) << outcome.syslogs;
    EXPECT_TRUE(contains(outcome.syslogs, "cmdline=[dbg selfdebug]probe].")) << outcome.syslogs;
    EXPECT_FALSE(contains(outcome.syslogs, "secret"));
}

} // namespace
