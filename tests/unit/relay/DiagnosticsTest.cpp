#include "RelayFixture.h"

#include "log/LogText.h"

#include "support/CapturedOutput.h"

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

// Debug words, the two channels of the frame path, and the state dump.

namespace {

using test::discover;

class Diagnostics : public RelayFixture
{
protected:
    void TearDown() override
    {
        std::ostringstream ignored;
        dhcpraImpl::dhcpraFrameDebug(0, &ignored);
        RelayFixture::TearDown();
    }
    [[nodiscard]] std::string logOf(const test::DhcpFrame& frame)
    {
        const CapturedLog log;
        handle(frame);
        return log.text();
    }
    [[nodiscard]] std::string dump(std::uint32_t id = 0) const
    {
        std::ostringstream out;
        engine.dhcpraDump(id, &out);
        return out.str();
    }
};

} // namespace

TEST_F(Diagnostics, ProcessTextsNeedALoggingLevelAboveSix)
{
    EXPECT_EQ(logOf(fromClient(discover())), "");
    for (const auto& [set, level] : {std::pair(-2, 3), {-1, -1}, {6, 6}}) { // -2 is the factory level
        engine.loggingLevelSet(set);
        EXPECT_EQ(engine.loggingLevelGet(), level);
        EXPECT_EQ(logOf(fromClient(discover())), "");
    }
    engine.loggingLevelSet(7);
    const std::string text = logOf(fromClient(discover()));
    EXPECT_NE(text.find("[DHCPRA] getFrameReaction()\n"), std::string::npos);
    EXPECT_NE(text.find("[DHCPRA] \t Opcode: REQUEST; Mode: CLIENTS; Destination: BROADCAST\n"),
              std::string::npos);
    EXPECT_NE(text.find("[DHCPRA] \t DO: send frame to port 1\n"), std::string::npos);
    EXPECT_NE(text.find("[DHCPRA] DUMP BEFORE SEND:\n"), std::string::npos);

    engine.setDebugFlag(dhcpraTypes::debugFlag::all, false);
    EXPECT_EQ(logOf(fromClient(discover())), "");
    engine.setDebugFlag(dhcpraTypes::debugFlag::process, true);
    const std::string processOnly = logOf(fromClient(discover()));
    EXPECT_NE(processOnly.find("getFrameReaction()"), std::string::npos);
    EXPECT_EQ(processOnly.find("DUMP BEFORE SEND:"), std::string::npos);
    EXPECT_EQ(processOnly.find("Frame info"), std::string::npos);
}

TEST_F(Diagnostics, LongAndManyLinedTextsKeepTheirPrefix)
{
    engine.loggingLevelSet(7);
    const CapturedLog log;
    engine.log("one\n\ntwo %s\nthree", std::string(1500, 'x').c_str());
    const std::vector<CapturedLog::Line> lines = log.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], (CapturedLog::Line{LogImpl::debug, "[DHCPRA] one\n"}));
    EXPECT_EQ(lines[1], (CapturedLog::Line{LogImpl::debug, "[DHCPRA] \n"}));
    EXPECT_NE(log.text().find(std::string(900, 'x')), std::string::npos);
    EXPECT_EQ(lines.back(), (CapturedLog::Line{LogImpl::debug, "[DHCPRA] three\n"}));
}

TEST_F(Diagnostics, AnUnknownFlagIsRefused)
{
    const CapturedLog log;
    engine.setDebugFlag(static_cast<dhcpraTypes::debugFlag>(6), false);
    logText(LogImpl::critical, "\n"); // the text has no line end of its own
    EXPECT_EQ(log.text(), "DHCPRA: setDebugFlag(): unknown debuf flag.");
}

TEST_F(Diagnostics, TheFrameDebugChannelNamesFunctionAndLine)
{
    std::ostringstream reply;
    dhcpraImpl::dhcpraFrameDebug(2, &reply);
    EXPECT_EQ(reply.str(), "\n Frame debug set to 1\n\n");
    const std::string discarded = standardOutputOf([this] { handle(fromClient(discover()).noEnd()); });
    EXPECT_TRUE(std::regex_search(discarded,
                                  std::regex("\tDHCPRA_DEBUG:processFrame,[0-9]+: DO: discard: reaction\n$")))
        << discarded;

    engine.setFullMode(true);
    const std::string unsteered =
        standardOutputOf([this] { handle(toBoard(test::offer()).option82("no colon in it")); });
    EXPECT_NE(unsteered.find(": no destination port.\n"), std::string::npos);
    EXPECT_EQ(unsteered.find("DO: discard: no destination port"), std::string::npos);

    dhcpraImpl::dhcpraFrameDebug(0, &reply);
    EXPECT_EQ(standardOutputOf([this] { handle(fromClient(discover()).noEnd()); }), "");
}

// Also where standard output is a file or a pipe, and so fully buffered.
TEST_F(Diagnostics, TheFrameDebugChannelIsSeenAtOnce)
{
    std::ostringstream reply;
    dhcpraImpl::dhcpraFrameDebug(1, &reply);
    std::fflush(stdout);
    const int kept = ::dup(STDOUT_FILENO);
    std::FILE* const shown = std::tmpfile();
    ASSERT_NE(shown, nullptr);
    ASSERT_EQ(::dup2(::fileno(shown), STDOUT_FILENO), STDOUT_FILENO);
    handle(fromClient(discover()));
    struct stat status = {};
    EXPECT_EQ(::fstat(::fileno(shown), &status), 0);
    std::fflush(stdout);
    ::dup2(kept, STDOUT_FILENO);
    ::close(kept);
    struct stat atEnd = {};
    EXPECT_EQ(::fstat(::fileno(shown), &atEnd), 0);
    std::fclose(shown);
    EXPECT_GT(status.st_size, 0);
    EXPECT_EQ(status.st_size, atEnd.st_size);
}

TEST_F(Diagnostics, ChangesBehindTheRelaysBackAreNoticed)
{
    engine.loggingLevelSet(7);
    engine.setDebugFlag(dhcpraTypes::debugFlag::all, false);
    engine.setDebugFlag(dhcpraTypes::debugFlag::process, true);
    // The insertion moves the End option, so the four bytes at the end change between checks 4 and 5.
    const std::string text = logOf(fromClient(discover()));
    EXPECT_NE(text.find("\t Debug 5: last four bytes changed from 35:01:01:ff to 31:30:30:ff.\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\t Debug 5: Frame size: 429, CircuitId size: 28, RemoteId Size: 0\n"),
              std::string::npos);
    EXPECT_EQ(text.find("Debug 6"), std::string::npos);
}

TEST_F(Diagnostics, RawDumpsHangOnTheirOwnFlagAlone)
{
    engine.loggingLevelSet(7);
    engine.setDebugFlag(dhcpraTypes::debugFlag::all, false);
    engine.setDebugFlag(dhcpraTypes::debugFlag::ioDump, true);
    const std::string header = "[DHCPRA] ethFrameStart =  sizeof(struct zobridge_frame_info) = 107\n";
    const std::string text = logOf(fromClient(discover()));
    const std::size_t changed = text.find("[DHCPRA] Debug 5 Dump: \n" + header + "[DHCPRA]  [ 6b]  ff ff");
    EXPECT_NE(changed, std::string::npos) << text;
    const std::size_t sent = text.find("[DHCPRA] === BEGIN raw socket data =====================\n" + header);
    EXPECT_NE(sent, std::string::npos) << text;
}

// A layer 2 agent goes on with the name that the bridge knows.
TEST_F(Diagnostics, TheParsedPortIsToldByTheNameThatServes)
{
    engine.loggingLevelSet(7);
    const std::string simplified = logOf(fromServer(test::offer()).option82(line5Vlan100));
    EXPECT_NE(simplified.find("\t Parsed port : true (if7)\n"), std::string::npos) << simplified;
    const std::string foreign = logOf(fromServer(test::offer()).option82("KORVANEL:sh2 eth 3/0/2/5:100"));
    EXPECT_NE(foreign.find("\t Parsed port : true (0/2/5)\n"), std::string::npos) << foreign;
    engine.setFullMode(true);
    const std::string full = logOf(toBoard(test::offer()).option82(line5Vlan100));
    EXPECT_NE(full.find("\t Parsed port : true (0/2/5)\n"), std::string::npos) << full;
}

TEST_F(Diagnostics, DumpTellsSettingsClientsAndHistory)
{
    ::setenv("TZ", "UTC", 1);
    engine.setCircuitIdFormat("$PORT");
    dhcpraInterface& line = *engine.getInterfaceById(line5);
    ASSERT_TRUE(line.setCircuitIdFormat(100, "$VLAN"));
    line.setCpeSerialNumber("SN42");
    line.setCpeMac(clientMac.data());
    const std::string before = " Global data: \n ------------ \n circuitIdFormat: '$PORT'\n"
                               " remoteIdFormat: '$PORT_REM_ID'\n\n Intf-VLAN data: \n -------------- \n";
    const std::string line5Vlans = " \tIntf Id: 7, name: '0/2/5', Linux name: 'if7':\n\t\tVlan: 100\n"
                                   "\t\t\tcircuitIdMode: -1\n\t\t\tcidFormat: '$VLAN'\n\t\t\tridFormat: ''\n";
    const std::string line5Equipment = " \tIntf Id: 7, CPE serial: SN42, CPE MAC: 02:00:00:00:00:11\n";
    const std::string noClients = "\n Client data: vecSize=0\n -------------- \n\n Client History \n"
                                  " ----------------- \n\n";
    EXPECT_EQ(dump(),
              before + line5Vlans + "\n Intf data: \n -------------- \n" + line5Equipment + noClients);
    EXPECT_EQ(dump(line6), before + "\n Intf data: \n -------------- \n" + noClients);

    handle(fromClient(discover()).xid(0xBEEF));
    const std::string time = HistoryTime::text(Clock::now());
    const std::string withClient = dump(line6);
    EXPECT_NE(withClient.find("\n Client data: vecSize=1\n -------------- \n" + time +
                              ", intf: 7, mac: 02:00:00:00:00:11, vlan: 100(0x8100), cvlan: 4095(0x0000), "
                              "xid: 0000beef\n"),
              std::string::npos)
        << withClient;
    EXPECT_TRUE(withClient.ends_with("\n Client History \n ----------------- \n" + time +
                                     ", intf: 7, mac: 02:00:00:00:00:11, vlan: 100, msgSeq: DISCOVER\n\n"))
        << withClient;
    ::unsetenv("TZ");
}
