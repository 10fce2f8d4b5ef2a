#include "relay/entity/dhcpra.h"

#include "platform/Node.h"
#include "rte/BLL/core/BLLManager.h"
#include "rte/BLL/core/TerminalAnswer.h"

#include <array>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/thread.hpp>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <syslog.h>

// The relay's debug words.

namespace {

using dhcpraTypes::debugFlag;

struct Message
{
    dhcpraImpl& v4;
    dhcpraV6Impl& v6;
    const std::string& key;
    const std::string& value;
    std::ostringstream* reply;
};

/// What stands at the start of the value, as strtol reads it: 0 when that is no number.
long numberOf(const std::string& value) { return std::strtol(value.c_str(), nullptr, 10); }
int switchOf(const std::string& value) { return numberOf(value) != 0 ? 1 : 0; }
std::uint32_t idOf(const std::string& value) { return static_cast<std::uint32_t>(numberOf(value)); }

// ---- "dhcpra_debug" ----

struct FlagWord
{
    std::string_view word;
    debugFlag flag;
};

constexpr std::array flagWords{
    FlagWord{"io", debugFlag::io},
    FlagWord{"io_dump", debugFlag::ioDump},
    FlagWord{"msg_dump", debugFlag::msgDump},
    FlagWord{"process", debugFlag::process},
    FlagWord{"message", debugFlag::message},
};

std::optional<debugFlag> flagOf(std::string_view word)
{
    for (const FlagWord& row : flagWords)
        if (row.word == word)
            return row.flag;
    return std::nullopt;
}

void setDestination(const Message& message, bool toLog)
{
    message.v4.setLogDestination(toLog);
    message.v6.setLogDestination(toLog);
}

void setFlag(const Message& message)
{
    const std::string_view value = message.value;
    const std::size_t equals = value.find('=');
    if (equals == std::string_view::npos)
        return;
    const std::string_view state = value.substr(equals + 1);
    const auto flag = flagOf(value.substr(0, equals));
    if (!flag || (state != "on" && state != "off"))
        return;
    message.v4.setDebugFlag(*flag, state == "on");
    message.v6.setDebugFlag(*flag, state == "on");
}

void debugWord(const Message& message)
{
    if (message.value == "stdout" || message.value == "syslog")
        setDestination(message, message.value == "syslog");
    else
        setFlag(message);
}

// ---- "dhcpraSimulateDeadlock" ----

/// Two readers that both want to write: they stall each other, and the lock's reports have something to say.
void stall(const char* name)
{
    BLLManager::registerThread(name);
    const sharedLock_t reader;
    boost::this_thread::sleep(boost::posix_time::seconds(5));
    const exclusiveLock_t writer;
}

boost::thread deadlockThread1;
boost::thread deadlockThread2;

void simulateDeadlock(const Message&)
{
    for (boost::thread* each : {&deadlockThread1, &deadlockThread2})
        if (each->joinable() && !each->timed_join(boost::posix_time::seconds(0)))
            return; // still at it since the last time
    deadlockThread1 = boost::thread(stall, "deadlockThread1");
    deadlockThread2 = boost::thread(stall, "deadlockThread2");
}

// ---- "dhcpraInterfaces" ----

/// How many interfaces there are and the id of each, a line each: no procedure lists them.
void listInterfaces(const Message& message)
{
    const boost::lock_guard<boost::recursive_mutex> guard(message.v4.engineMutex());
    *message.reply << message.v4.getInterfaces().size() << " interfaces\n";
    for (const auto& [id, interface] : message.v4.getInterfaces())
        *message.reply << id << '\n';
}

// ---- All words ----

struct Word
{
    std::string_view key;
    bool isPrefix; ///< the key only starts with the word
    void (*act)(const Message&);
};

constexpr std::array words{
    Word{"dhcpra_debug", false, debugWord},
    Word{"dhcpraDump", false, [](const Message& m) { m.v4.dhcpraDump(idOf(m.value), m.reply); }},
    Word{"dhcpraInterfaces", false, listInterfaces},
    Word{"dhcpraTestDump", false, [](const Message& m) { m.v4.dhcpraTestDump(m.reply); }},
    Word{"dhcpraTestSet", true, [](const Message& m) { m.v4.dhcpraTestSet(m.key, m.value, m.reply); }},
    Word{"dhcpraTestRun", true, [](const Message& m) { m.v4.dhcpraTestRun(m.key, m.value, m.reply); }},
    Word{"dhcpraTestDebug", false,
         [](const Message& m) { dhcpraImpl::dhcpraTestDebug(switchOf(m.value), m.reply); }},
    Word{"dhcpraFrameDebug", false,
         [](const Message& m) { dhcpraImpl::dhcpraFrameDebug(switchOf(m.value), m.reply); }},
    Word{"dhcprav6Dump", false, [](const Message& m) { m.v6.dhcpraDump(idOf(m.value), m.reply); }},
    Word{"dhcprav6TestDump", false, [](const Message& m) { m.v6.dhcpraTestDump(m.reply); }},
    Word{"dhcprav6TestSet", true, [](const Message& m) { m.v6.dhcpraTestSet(m.key, m.value, m.reply); }},
    Word{"dhcprav6TestRun", true, [](const Message& m) { m.v6.dhcpraTestRun(m.key, m.value, m.reply); }},
    Word{"dhcprav6TestDebug", false,
         [](const Message& m) { dhcpraV6Impl::dhcpraTestDebug(switchOf(m.value), m.reply); }},
    Word{"dhcpraSimulateDeadlock", false, simulateDeadlock},
};

bool matches(const Word& word, const std::string& key)
{
    return word.isPrefix ? key.starts_with(word.key) : key == word.key;
}

void reportToSystemLog(const char* what, const std::string& tty)
{
    syslog(LOG_CRIT, "\t DHCPRA: %s%s\n", what, tty.c_str());
}

} // namespace

void dhcpra::onExternalMessage(const std::string& key, const std::string& value, std::ostringstream* reply,
                               const std::string& tty)
{
    for (const Word& word : words) {
        if (matches(word, key)) {
            word.act(Message{dhcpra_impl, dhcprav6_impl, key, value, reply});
            break;
        }
    }
    if (!tty.empty())
        static_cast<void>(answerOnTerminal(reply->str(), tty, reportToSystemLog));
}

void dhcpra::onExternalMessageDhcpr(const std::string& key, const std::string& value, const std::string& tty)
{
    // Whether the terminal took the answer is the manager's to log; the peer is not told.
    static_cast<void>(singleton<BLLManager>::instance().postExternalMessage(key, value, tty));
}

void dhcpra::debugMessage(const char* value) { Syslogger::debugMessage(value, 1); }
