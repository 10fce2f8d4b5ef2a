#include "log/SysLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <syslog.h>
#include <vector>

#include <gtest/gtest.h>

// This program's own syslog: the C library's are replaced at link time.
namespace {
struct Opened
{
    const char* ident;
    int options;
    int facility;
};
std::vector<Opened> opened;

struct Sent
{
    int priority;
    std::string format;
    std::string text;
};
std::vector<Sent> sent;
} // namespace

extern "C" void openlog(const char* ident, int options, int facility)
{
    opened.push_back({ident, options, facility});
}

extern "C" void syslog(int priority, const char* format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    sent.push_back({priority, format, text});
}

TEST(SysLog, OpensWithAnIdentifierThatOutlivesTheCall)
{
    opened.clear();
    const SysLog log(std::string("BLL"));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_STREQ(opened[0].ident, "BLL");
    EXPECT_EQ(opened[0].options, LOG_PID | LOG_CONS | LOG_NDELAY);
    EXPECT_EQ(opened[0].facility, LOG_LOCAL1);
    EXPECT_TRUE(log.buffered);
}

TEST(SysLog, LevelsMapToPrioritiesTabsToBlanksAndTheTextIsNoFormat)
{
    SysLog log("BLL");
    const std::pair<int, int> rows[] = {{0, LOG_CRIT},  {1, LOG_WARNING}, {2, LOG_NOTICE},
                                        {3, LOG_DEBUG}, {4, LOG_CRIT},    {-1, LOG_CRIT}};
    for (const auto& [level, priority] : rows) {
        sent.clear();
        log.writeMessageToLog({LogImpl::notice, "", 1}); // nothing is not sent
        log.writeMessageToLog({static_cast<LogImpl::logLevel_t>(level), "[1] \ta\t%s%n\n", 1});
        ASSERT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0].priority, priority) << level;
        EXPECT_EQ(sent[0].format, "%s");
        EXPECT_EQ(sent[0].text, "[1]     a    %s%n\n");
    }
}
