#include <gtest/gtest.h>

#include <string>

#include "selfdebug/ReportText.h"

namespace {

using namespace reportText;

TEST(ReadableFrame, DemanglesTheNameBetweenTheBrackets)
{
    const auto readable = [](const char* line) { return readableFrame(line, "[dbg x]", "./dhcpra"); };
    EXPECT_EQ(readable("/lib/x.so(_ZN3foo3barEi+0x1f) [0x7f00]"), "/lib/x.so(foo::bar(int)+0x1f) [0x7f00]");
    EXPECT_EQ(readable("x(_ZN3foo3barEi) [0x7f00]"), "x(foo::bar(int)) [0x7f00]");
    EXPECT_EQ(readable("[dbg x](main+0x1f) [0x7f00]"), "./dhcpra(main+0x1f) [0x7f00]");
    EXPECT_EQ(readable("/x/[dbg x](+0x1f) [0x7f00]"), "/x/[dbg x](+0x1f) [0x7f00]");
    for (const char* unchanged : {"", "[0x7f00]", "x(", "x)(", "x(_Zbroken+0x1) [0x1]"})
        EXPECT_EQ(readable(unchanged), unchanged);
    EXPECT_EQ(readableFrame("x(+0x1) [0x1]", "", "launch"), "x(+0x1) [0x1]");
}

TEST(ReporterName, ClosesItsBracketWhereTheKernelCuts)
{
    EXPECT_EQ(reporterName("ninechars"), "[dbg ninechars]");
    EXPECT_EQ(reporterName("ten_chars_"), "[dbg ten_chars]]");
    EXPECT_EQ(reporterName("fifteen_chars__"), "[dbg fifteen_c]ars__]");
}

TEST(OverwriteInPlace, UsesTheRoomThatIsThere)
{
    const auto over = [](std::string argument) {
        overwriteInPlace(argument.data(), "[dbg dhcpra]");
        return argument;
    };
    using namespace std::string_literals;
    EXPECT_EQ(over("./some/dhcpra/"), "[dbg dhcpra]\0\0"s);
    EXPECT_EQ(over("12345678901"), "[dbg dhcpr]");
    EXPECT_EQ(over("123456789"), "[dbg dhc]");
    EXPECT_EQ(over("12345678"), "d\0\0\0\0\0\0\0"s);
    EXPECT_EQ(over("1"), "d");
    EXPECT_EQ(over(""), "");
}

TEST(SignalLines, StandForFatalSignalsOnly)
{
    slfDbgMsg record{};
    EXPECT_EQ(signalLines(record), "");
    record.signal = SIGUSR1;
    EXPECT_EQ(signalLines(record), "");
    record.faultAddress = reinterpret_cast<void*>(0xdead0);
    record.signal = SIGFPE;
    EXPECT_EQ(signalLines(record),
              "\nFatal signal received: 8: Floating point exception\nFault address: dead0\n");
    record.signal = SIGSTKFLT;
    EXPECT_EQ(signalLines(record), "\nFatal signal received: 16: Stack fault\n");
}

TEST(NonEmptyLines, AreCutAtNewlines)
{
    EXPECT_EQ(nonEmptyLines("\na\n\nb c\nd"), (std::vector<std::string>{"a", "b c", "d"}));
    EXPECT_TRUE(nonEmptyLines("\n\n").empty());
}

} // namespace
