#include "EntityFixture.h"

#include "relay/model/DebugChannels.h"
#include "support/TemporaryFolder.h"

namespace {

class Words : public EntityFixture
{
protected:
    void TearDown() override
    {
        for (const char* word : {"dhcpraTestDebug", "dhcpraFrameDebug", "dhcprav6TestDebug"})
            say(word, "0");
        EntityFixture::TearDown();
    }
    std::string say(const std::string& key, const std::string& value, const std::string& tty = {})
    {
        std::ostringstream reply;
        entity.onExternalMessage(key, value, &reply, tty);
        return reply.str();
    }
};

TEST_F(Words, ReachTheirEngine)
{
    ASSERT_EQ(entity.setCircuitIdFormat("v4-format"), 0U);
    ASSERT_EQ(entity.setDra6InterfaceIdFormat("v6-format"), 0U);
    const struct
    {
        const char *key, *value;
        const char* reply; ///< a part of it; "" for none at all
    } cases[] = {
        {"dhcpraDump", "", " circuitIdFormat: 'v4-format'\n"},
        {"dhcprav6Dump", "", " interfaceIdFormat: 'v6-format'\n"},
        {"dhcpraTestSetVlan", "321", "Setting vlan: 321\n"},
        {"dhcpraTestDump", "", " vlan: 321\n"},
        {"dhcprav6TestDump", "", " vlan: 100\n"},
        {"dhcprav6TestSetVlan", "654", "Setting vlan: 654\n"},
        {"dhcprav6TestDump", "", " vlan: 654\n"},
        {"dhcpraTestSetCustomCidStr", "v4-$VLAN", "Setting customCidStr: 'v4-$VLAN'"},
        {"dhcpraTestRunCid", "test", "\n Generated Custom Circuit Id: 'v4-321'\n\n"},
        {"dhcprav6TestSetCustomCidStr", "v6-$VLAN", "Setting customCidStr: 'v6-$VLAN'"},
        {"dhcprav6TestRunCid", "test", "\n Generated Custom Interface Id: 'v6-654'\n\n"},
        {"dhcpraTestDebug", "1", "\n Test debug set to 1\n\n"},
        {"dhcpraTestDump", "", " Debug: 1"},
        {"dhcprav6TestDump", "", " Debug: 0"},
        {"dhcprav6TestDebug", "7", "\n Test debug set to 1\n\n"},
        {"dhcpraFrameDebug", "1", "\n Frame debug set to 1\n\n"},
        {"dhcpraFrameDebug", "none", "\n Frame debug set to 0\n\n"},
        {"dhcpraDumps", "", ""},
        {"dhcpra", "", ""},
        {"", "", ""},
        {"dhcpra_debug", "process=off", ""},
    };
    for (const auto& each : cases) {
        const std::string reply = say(each.key, each.value);
        EXPECT_NE(reply.find(each.reply), std::string::npos) << each.key << " answered " << reply;
        EXPECT_EQ(reply.empty(), *each.reply == '\0') << each.key << " answered " << reply;
    }
}

TEST_F(Words, DumpOfOneInterfaceLeavesTheOthersOut)
{
    ASSERT_EQ(entity.vlanAdd(line, 100), 0U);
    ASSERT_EQ(entity.vlanAdd(pvc, 200), 0U);
    const std::string reply = say("dhcprav6Dump", "7");
    EXPECT_NE(reply.find("Intf Id: 7, name: '0/2/5'"), std::string::npos);
    EXPECT_NE(reply.find("\t\tVlan: 100\n\t\t\tinterfaceIdMode: -1\n\t\t\tiidFormat: ''\n"),
              std::string::npos);
    EXPECT_EQ(reply.find("Intf Id: 9"), std::string::npos);
}

/// Whether the process texts of the DHCPv6 engine are written, asked by generating an id.
TEST_F(Words, DebugFlagsAndDestinationGateTheTexts)
{
    ASSERT_EQ(entity.loggingLevelSet(7), 0U);
    const auto speaks = [&] {
        const CapturedLog log;
        std::string id;
        EXPECT_EQ(entity.genDra6RemoteIdByIntfVlan(line, 100, 0xFFFF, id), 0U);
        return log.text().find("genRemoteIdByInterfaceName") != std::string::npos;
    };
    EXPECT_TRUE(speaks());
    say("dhcpra_debug", "process=off");
    EXPECT_FALSE(speaks());
    for (const char* ignored : {"process=x", "process=", "process", "=on", "all=on", "io=on"}) {
        say("dhcpra_debug", ignored);
        EXPECT_FALSE(speaks()) << ignored;
    }
    say("dhcpra_debug", "process=on");
    EXPECT_TRUE(speaks());
    say("dhcpra_debug", "stdout");
    EXPECT_FALSE(speaks());
    say("dhcpra_debug", "syslog");
    EXPECT_TRUE(speaks());
    ASSERT_EQ(entity.loggingLevelSet(6), 0U);
    EXPECT_FALSE(speaks());
}

TEST_F(Words, AnswerGoesToTheTerminalThatIsNamed)
{
    const TemporaryFolder folder;
    const std::string tty = folder.file("tty", "");
    const std::string reply = say("dhcpraTestDump", "", tty);
    EXPECT_FALSE(reply.empty());
    EXPECT_EQ(folder.read("tty"), reply);
    EXPECT_FALSE(say("dhcpraTestDump", "", folder.path("missing")).empty());
    EXPECT_FALSE(std::filesystem::exists(folder.path("missing")));
}

} // namespace
