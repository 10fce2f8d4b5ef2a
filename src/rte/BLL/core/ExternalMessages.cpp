#include "rte/BLL/core/BLLManager.h"

#include "common/CZoUtil.h"
#include "log/LogText.h"
#include "platform/zobridge.h"
#include "rte/BLL/core/TerminalAnswer.h"
#include "selfdebug/SelfDebugger.h"

#include <array>
#include <cstdio>
#include <string_view>

#include <boost/date_time/posix_time/posix_time_duration.hpp>

// The debug channel: distribution of external messages, and the manager's own words.

namespace {

constexpr std::string_view externalMessagePrefix = "dhcpra:";

struct Message
{
    BLLManager& manager;
    const std::string& key;
    const std::string& value;
    std::ostringstream* out;
};

/// Answers whether the word took the message; if not, the words below it are tried.
using Handler = bool (*)(const Message&);

bool setLockDebug(const Message& message)
{
    if (message.value == "on" || message.value == "off")
        BLLManager::lockDebug.store(message.value == "on", std::memory_order_relaxed);
    else
        logText(LogImpl::warning,
                "Warning: BLL Manager has received the message <lockDebug> with wrong value <", message.value,
                ">.\n");
    return true;
}

bool showThreads(const Message& message)
{
    if (message.value != "show")
        return false;
    message.manager.showThreads(message.out);
    return true;
}

bool switchBacktraceReports(const Message& message)
{
    SelfDebugger& debugger = SelfDebugger::instance();
    if (message.value == "on") {
        if (!debugger.enableManualDebugReports())
            logText(LogImpl::warning, "bllmsg: Error enabling manual debug reports.\n");
    } else if (message.value == "off") {
        if (!debugger.disableManualDebugReports())
            logText(LogImpl::warning, "bllmsg: Error disabling manual debug reports.\n");
    } else {
        logText(LogImpl::warning, "bllmsg: invalid message: ", message.key, " ", message.value, "\n");
    }
    return true;
}

bool showLockHolders(const Message& message)
{
    if (message.value != "show")
        return false;
    BLLManager::getLockHoldersDump(*message.out, BLLManager::lock().getStateMap());
    return true;
}

bool toggleScripterTimes(const Message& message)
{
    const bool on = message.manager.toggleCpuUsageDebug();
    std::printf("BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to %d\n", on ? 1 : 0);
    std::fflush(stdout);
    logText(LogImpl::notice, "BLLManager::onExternalMessage: Set BLLManager::cpuUsageDebug to ",
            on ? "True" : "False", "\n");
    return true;
}

bool switchDeadlockTest(const Message& message)
{
    BLLManager::bllDeadlockTest(message.value == "start", message.out);
    return true;
}

bool setLockingPeriod(const Message& message)
{
    // Throws for a text that is no number: the distribution ends and the RPC layer answers for it.
    const int seconds = std::stoi(message.value);
    BLLManager::lock_t::lockingPeriod = boost::posix_time::seconds(seconds);
    std::printf("BLLManager::onExternalMessage: set lock_t::lockingPeriod=%d\n", seconds);
    std::fflush(stdout);
    return true;
}

bool showFeatures(const Message& message)
{
    message.manager.dumpFeatureSupport(message.out);
    return true;
}

bool measureTime(const Message& message)
{
    CZoUtil::measureTimeExtMsg(message.key, message.value, message.out);
    return true;
}

/// "debug" forces that level on every message, which the usual threshold then drops: a way to silence the
/// log.
bool setDebugLevel(const Message& message)
{
    LogImpl::logLevel_t level = LogImpl::debug;
    if (message.value == "critical")
        level = LogImpl::critical;
    else if (message.value == "warning")
        level = LogImpl::warning;
    else if (message.value == "notice")
        level = LogImpl::notice;
    singleton<Log>::instance().setDebugLevel(message.out, level, message.value != "off");
    return true;
}

template <int step>
bool linkAggregationTest(const Message&)
{
    zobridge::lagTest(step);
    return true;
}

bool setLinkAggregationMask(const Message& message)
{
    zobridge::issLaDebugMask(message.value == "pdu_config" ? 3 : 1);
    return true;
}

bool setFeature(const Message& message)
{
    const std::size_t equals = message.value.find('=');
    if (equals != std::string::npos)
        message.manager.setBllFeature(message.value.substr(0, equals),
                                      message.value.substr(equals + 1) != "0", message.out);
    return true;
}

struct Word
{
    std::string_view key;
    bool isPrefix;
    Handler handle;
};

constexpr std::array words{
    Word{"lockDebug", false, setLockDebug},
    Word{"threads", false, showThreads},
    Word{"reportBacktraces", false, switchBacktraceReports},
    Word{"lockHolders", false, showLockHolders},
    Word{"scripter_debug_time", false, toggleScripterTimes},
    Word{"deadlocktest", false, switchDeadlockTest},
    Word{"lockingPeriod", false, setLockingPeriod},
    Word{"featuresupport", false, showFeatures},
    Word{"measureTime", true, measureTime},
    Word{"debugLevel", true, setDebugLevel},
    Word{"ippc_la_init", false, linkAggregationTest<1>},
    Word{"ippc_la_add_ports", false, linkAggregationTest<2>},
    Word{"ippc_la_ports_up", false, linkAggregationTest<3>},
    Word{"ippc_la_show", false, linkAggregationTest<4>},
    Word{"laDebugMask", false, setLinkAggregationMask},
    Word{"setfeature", false, setFeature},
};

} // namespace

bool BLLManager::postExternalMessage(const std::string& key, const std::string& value, const std::string& tty)
{
    logText(LogImpl::debug, "*** EVENT: <externalMessage>: notify all subscribers.\n");
    std::ostringstream answer;
    if (key.starts_with(externalMessagePrefix)) {
        // Messages for another process of the node, which answers by itself: no stream for these.
        const std::string rest = key.substr(externalMessagePrefix.size());
        for (const auto& subscriber : prefixedMessageSubscribers.snapshot())
            subscriber(rest, value, tty);
    } else {
        for (const auto& subscriber : externalMessageSubscribers.snapshot())
            subscriber(key, value, &answer, tty);
    }
    const std::string text = answer.str();
    if (text.empty())
        return false;
    if (tty.empty()) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
        return false;
    }
    return answerOnTerminal(text, tty);
}

void BLLManager::onExternalMessage(const std::string& key, const std::string& value, std::ostringstream* out)
{
    for (const Word& word : words) {
        const bool fits = word.isPrefix ? key.starts_with(word.key) : key == word.key;
        if (fits && word.handle({*this, key, value, out}))
            return;
    }
}
