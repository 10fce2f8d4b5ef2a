#include "rte/BLL/core/BLLManager.h"
#include "support/CapturedLog.h"
#include "support/CapturedOutput.h"
#include "support/NodeBuilder.h"
#include "support/TemporaryFolder.h"

#include <stdexcept>

#include <boost/function.hpp>
#include <gtest/gtest.h>

namespace {

class ExternalMessagesTest : public testing::Test
{
protected:
    ExternalMessagesTest() { manager.subscribeOwnWords(); }
    ~ExternalMessagesTest() override
    {
        BLLManager::lockDebug = false;
        BLLManager::lock_t::lockingPeriod = boost::posix_time::seconds(300);
        singleton<Log>::instance().setDebugLevel(nullptr, LogImpl::debug, false);
    }

    std::string tell(const std::string& key, const std::string& value)
    {
        std::ostringstream out;
        printed = standardOutputOf([&] { manager.onExternalMessage(key, value, &out); });
        return out.str();
    }

    std::unique_ptr<test::TestNode> node = test::NodeBuilder().use();
    BLLManager manager;
    CapturedLog log;     // after the manager, which brings its own back end
    std::string printed; ///< on standard output by the last word
    TemporaryFolder folder;
};

} // namespace

/// Switches and tables: a word, its value, how the answer begins, what is printed, and a line in the log.
TEST_F(ExternalMessagesTest, WordsOfTheManager)
{
    const struct
    {
        const char *key, *value, *answer;
        std::string print;
        const char* logged;
    } words[] = {
        {"lockDebug", "ON", "", "",
         "Warning: BLL Manager has received the message <lockDebug> with wrong value <ON>.\n"},
        {"threads", "show", "Currently registered threads (", "", nullptr},
        {"threads", "hide", "", "", nullptr},
        {"lockHolders", "show", "Dump of exclusive/shared lock holders and exclusive lock waiters:\n", "",
         nullptr},
        {"lockHolders", "", "", "", nullptr},
        // Nothing forked the reporter in this program, so switching on fails and says so.
        {"reportBacktraces", "on", "", "", "bllmsg: Error enabling manual debug reports.\n"},
        {"reportBacktraces", "maybe", "", "", "bllmsg: invalid message: reportBacktraces maybe"},
        {"scripter_debug_time", "any", "",
         "BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to 1\n",
         "BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to True"},
        {"scripter_debug_time", "", "", "BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to 0\n",
         "BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to False"},
        {"deadlocktest", "start", "Deadlock test started.\n", "", nullptr},
        {"deadlocktest", "anything", "Deadlock test stopped.\n", "", nullptr},
        {"measureTimeSet", "off", " Time measuring set to: Off\n", "", nullptr},
        {"measureTimeNonsense", "off", "", "", nullptr},
        {"debugLevelOfAnything", "critical", "Debug level set to Critical(0)\n", "", nullptr},
        {"debugLevelOfAnything", "warning", "Debug level set to Warning(1)\n", "", nullptr},
        {"debugLevelOfAnything", "notice", "Debug level set to Notice(2)\n", "", nullptr},
        {"debugLevelOfAnything", "debug", "Debug level set to Debug(3)\n", "", nullptr},
        {"debugLevelOfAnything", "other", "Debug level set to Debug(3)\n", "", nullptr},
        {"debugLevelOfAnything", "off", "Debug level disabled\n", "", nullptr},
        {"", "show", "", "", nullptr},
        {"lockdebug", "on", "", "", nullptr},
        {"thread", "show", "", "", nullptr},
        {"setfeatureX", "show", "", "", nullptr},
    };
    for (const auto& word : words) {
        const std::string answer = tell(word.key, word.value);
        EXPECT_TRUE(answer.starts_with(word.answer) && answer.empty() == (*word.answer == '\0'))
            << word.key << " answers " << answer;
        EXPECT_EQ(printed, word.print);
        if (word.logged != nullptr) {
            EXPECT_NE(log.text().find(word.logged), std::string::npos) << log.text();
        }
    }
    tell("lockDebug", "on");
    EXPECT_TRUE(BLLManager::lockDebug);
    tell("lockDebug", "off");
    EXPECT_FALSE(BLLManager::lockDebug);
}

TEST_F(ExternalMessagesTest, LockingPeriod)
{
    const std::pair<const char*, int> rows[] = {
        {"12", 12}, {" 7x9", 7}, {"-3", -3}, {"2147483647", 2147483647}};
    for (const auto& [value, seconds] : rows) {
        tell("lockingPeriod", value);
        EXPECT_EQ(printed, "BLLManager::onExternalMessage: set lock_t::lockingPeriod=" +
                               std::to_string(seconds) + "\n");
        EXPECT_EQ(BLLManager::lock_t::lockingPeriod.total_seconds(), seconds);
    }
    std::ostringstream out;
    EXPECT_THROW(manager.onExternalMessage("lockingPeriod", "soon", &out), std::invalid_argument);
    EXPECT_THROW(manager.onExternalMessage("lockingPeriod", "2147483648", &out), std::out_of_range);
    EXPECT_EQ(BLLManager::lock_t::lockingPeriod.total_seconds(), 2147483647);
}

TEST_F(ExternalMessagesTest, Features)
{
    const std::pair<const char*, const char*> rows[] = {{"foo=0", "False"}, {"foo=1", "True"},
                                                        {"foo=x", "True"},  {"foo=", "True"},
                                                        {"foo=00", "True"}, {"foo=0=0", "True"}};
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(tell("setfeature", value), std::string("Setting BLL feature 'foo' to ") + expected + "\n");
    EXPECT_EQ(tell("setfeature", "bar"), "");
    EXPECT_TRUE(manager.isFeatureSupported("bar"));
    tell("setfeature", "foo=0");
    EXPECT_FALSE(manager.isFeatureSupported("foo"));
    EXPECT_NE(tell("featuresupport", "").find("\n foo: false\n"), std::string::npos);
}

TEST_F(ExternalMessagesTest, LinkAggregation)
{
    for (const char* word : {"ippc_la_init", "ippc_la_add_ports", "ippc_la_ports_up", "ippc_la_show"})
        tell(word, "ignored");
    tell("laDebugMask", "pdu_config");
    tell("laDebugMask", "config");
    tell("laDebugMask", "");
    EXPECT_EQ(node->notes(),
              (std::vector<std::string>{"lagTest 1", "lagTest 2", "lagTest 3", "lagTest 4",
                                        "issLaDebugMask 3", "issLaDebugMask 1", "issLaDebugMask 1"}));
}

TEST_F(ExternalMessagesTest, AnAnswerGoesToTheTerminalOrToStandardOutput)
{
    const std::string file = folder.file("tty", "");
    printed = standardOutputOf([&] { EXPECT_FALSE(manager.postExternalMessage("deadlocktest", "x", file)); });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(folder.read("tty"), "Deadlock test stopped.\n");
    EXPECT_TRUE(log.has(LogImpl::debug, "*** EVENT: <externalMessage>: notify all subscribers.\n"));

    printed = standardOutputOf([&] { EXPECT_FALSE(manager.postExternalMessage("deadlocktest", "x", "")); });
    EXPECT_EQ(printed, "Deadlock test stopped.\n");

    EXPECT_TRUE(manager.postExternalMessage("deadlocktest", "x", folder.path("absent")));
    // With nothing to say the terminal is not even opened.
    EXPECT_FALSE(manager.postExternalMessage("nobody's word", "x", folder.path("absent")));
}

TEST_F(ExternalMessagesTest, SubscribersGetTheirPart)
{
    std::vector<std::string> heard;
    manager.externalMessageSubscribers.push_back([&](const std::string& key, const std::string& value,
                                                     std::ostringstream* out, const std::string& tty) {
        heard.push_back("plain " + key + "," + value + "," + tty);
        *out << "answer\n";
    });
    manager.prefixedMessageSubscribers.push_back(
        [&](const std::string& key, const std::string& value, const std::string& tty) {
            heard.push_back("prefixed " + key + "," + value + "," + tty);
        });
    const std::string file = folder.file("tty", "");
    EXPECT_FALSE(
        manager.postExternalMessage("dhcpra:x", "1", folder.path("absent"))); // no answer, not opened
    EXPECT_FALSE(manager.postExternalMessage("dhcpra:", "2", ""));
    EXPECT_FALSE(manager.postExternalMessage("dhcpra", "3", file)); // shorter than the prefix
    EXPECT_EQ(heard, (std::vector<std::string>{"prefixed x,1," + folder.path("absent"), "prefixed ,2,",
                                               "plain dhcpra,3," + file}));
    EXPECT_EQ(folder.read("tty"), "answer\n");
}
