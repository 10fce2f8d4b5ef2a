#include "../rpc/RpcFixture.h"
#include "support/CapturedOutput.h"
#include "support/TemporaryFolder.h"
#include "tools/dhcpractl/Apply.h"
#include "tools/dhcpractl/Change.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Procedures.h"
#include "tools/dhcpractl/Save.h"
#include "tools/dhcpractl/Settings.h"
#include "tools/dhcpractl/Show.h"

#include <algorithm>
#include <map>
#include <sstream>

using namespace dhcpractl;

/// The library loses a few bytes a call when no port mapper answers.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:__rpc_uaddr2taddr_af"; }

namespace {

/// Values that no setting starts with; texts need every kind of quoting.
std::string otherValue(const Setting& setting)
{
    switch (setting.kind) {
    case Kind::onOff:
        return setting.key == "insert-opt82" || setting.key == "insert-circuit-id" ||
                       setting.key == "v6-interface-id"
                   ? "off"
                   : "on";
    case Kind::threeState:
        return setting.key.find("interface-id") != std::string_view::npos ? "false" : "true";
    case Kind::interfaceMode:
        return "servers";
    case Kind::circuitIdMode:
    case Kind::interfaceIdMode:
        return "custom";
    case Kind::number:
        return setting.key.find("level") != std::string_view::npos ? "5" : "4711";
    case Kind::address:
        return "192.0.2.77";
    case Kind::text:
        return std::string(setting.key) + " 'a' \"b\" $VLAN \\ # \t \x01 \xC3\xA4";
    }
    return {};
}

class Replay : public test::RpcFixture
{
protected:
    void SetUp() override
    {
        RpcFixture::SetUp();
        options.port = ntohs(test::transportAddress(SOCK_STREAM)->sin_port);
        ask(connection, "dra_debug_admin_state_set", {"off"}); // factory settings leave it alone
    }

    std::string saved()
    {
        std::ostringstream text;
        save(connection, 0, 30, text);
        return text.str();
    }
    int applied(const std::string& lines, ApplyOptions how = {})
    {
        how.file = folder.file("lines", lines);
        return apply(connection, how);
    }
    std::string shown(void (*show)(Connection&, const ShowOptions&, std::ostream&), ShowOptions how = {})
    {
        how.lastId = 30;
        std::ostringstream text;
        show(connection, how, text);
        return text.str();
    }

    TemporaryFolder folder;
    ConnectionOptions options;
    Connection connection{options};
};

TEST_F(Replay, EverySettingComesBack)
{
    const std::string factory = saved();
    for (const Setting& setting : relaySettings())
        if (!setting.getter.empty())
            setRelay(connection, std::string(setting.key), otherValue(setting));
    for (const Setting& setting : interfaceSettings())
        if (!setting.getter.empty())
            setInterface(connection, 9, std::string(setting.key), otherValue(setting), std::nullopt);
    for (const Setting& setting : interfaceVlanSettings())
        setInterface(connection, 9, std::string(setting.key), otherValue(setting), std::uint16_t{100});
    for (const Setting& setting : vlanSettings())
        setVlan(connection, 100, std::string(setting.key), otherValue(setting));

    const std::string lines = saved();
    for (const auto settings :
         {relaySettings(), interfaceSettings(), interfaceVlanSettings(), vlanSettings()})
        for (const Setting& setting : settings)
            if (!setting.getter.empty()) {
                EXPECT_NE(lines.find("rpc_" + std::string(setting.setter) + " "), std::string::npos)
                    << setting.key;
            }
    EXPECT_NE(lines, factory);

    ASSERT_EQ(applied(factory), exitGood);
    ask(connection, "dra_debug_admin_state_set", {"off"});
    EXPECT_EQ(saved(), factory);
    ASSERT_EQ(applied(lines), exitGood);
    EXPECT_EQ(saved(), lines);
}

TEST_F(Replay, OddCombinationsComeBack)
{
    // Records that say nothing, in both families or in one.
    setRecord(connection, 7, 100, true);
    setRecord(connection, 7, 200, true);
    ask(connection, "dra6_interfaceid_format_intf_vlan_set", {"7", "200", ""});
    setRecord(connection, 7, 300, true);
    ask(connection, "dra_cid_format_intf_vlan_set", {"7", "300", ""});
    setInterface(connection, 7, "v6-remote-id-format", "only in one", std::uint16_t{300});
    setInterface(connection, 7, "circuit-id-format", "no mode", std::uint16_t{400});
    // VLAN records whose unset members are not what a new record has.
    setVlan(connection, 100, "v6-enabled", "true");
    setVlan(connection, 100, "v6-enabled", "unset");
    setVlan(connection, 200, "v6-remote-id", "true");
    setVlan(connection, 200, "v6-interface-id", "unset");
    setVlan(connection, 200, "keep-opt82", "9");
    // Servers: order of equal ones, VLAN 0.
    for (const auto& [server, vlan] : {std::pair{"10.0.0.2", 300}, {"10.0.0.2", 100}, {"10.0.0.1", 0}})
        setServer(connection, server, static_cast<std::uint16_t>(vlan), true);
    setInterface(connection, 9, "circuit-id-mode", "atm", std::nullopt);

    const std::string lines = saved();
    ASSERT_EQ(applied("apply_default_settings"), exitGood);
    ASSERT_NE(saved(), lines);
    ASSERT_EQ(applied(lines), exitGood);
    EXPECT_EQ(saved(), lines);
}

struct Answering
{
    std::string name;
    std::string_view result;
};
const Answering everyProcedure[] = {
#define PROCEDURE(number, name, words, argumentFilter, resultFilter, shape, operation)                       \
    {"rpc_" #name, #resultFilter},
#include "rpc/dhcpraProcedures.def"
#undef PROCEDURE
};

bool has(std::span<const Setting> settings, std::string_view setter, bool withGetter)
{
    return std::ranges::any_of(settings, [&](const Setting& setting) {
        return "rpc_" + std::string(setting.setter) == setter && setting.getter.empty() != withGetter;
    });
}

/// Every procedure that sets something is saved, or the file says at its head that it is not.
TEST_F(Replay, NoSetterIsForgotten)
{
    const std::map<std::string_view, std::string_view> otherwise{
        {"rpc_dra_set_debug", "does nothing"},
        {"rpc_dra_set_debug_flags", "does nothing"},
        {"rpc_dra_intf_set_debug", "does nothing"},
        {"rpc_dra_intf_set_debug_flags", "does nothing"},
        {"rpc_dra6_intf_vlan_add", "does nothing"},
        {"rpc_dra_reset_intf_counters", "no setting"},
        {"rpc_dra_port_add_event", "the registry's, not the relay's"},
        {"rpc_dra_apply_default_settings", "stands first in the file"},
        {"rpc_dra_set_server_vlan", "saved from its list"},
        {"rpc_dra_intf_vlan_add", "saved with the records"},
        {"rpc_dra_intf_vlan_del", "the contrary"},
        {"rpc_dra_intf_vlan_clear_all", "the contrary"},
        {"rpc_dra_bll_conf_event", "no setting"},
        {"rpc_dra6_bll_conf_event", "no setting"},
        {"rpc_dra_ext_message", "no setting"},
        {"rpc_dra_ext_message_dhcpr", "no setting"},
        {"rpc_dra_debug_message", "no setting"},
        {"rpc_dra_ping", "no setting"},
        {"rpc_dra_intf_set_circuitid_mode_atm_params", "ATM parameters"},
    };
    std::string head = saved();
    head.resize(head.find("rpc_dra_apply"));
    EXPECT_NE(head.find("ATM parameters"), std::string::npos);
    for (const auto settings : {relaySettings(), interfaceSettings()})
        for (const Setting& setting : settings)
            if (setting.getter.empty()) {
                EXPECT_NE(head.find(setting.key), std::string::npos) << setting.key;
            }
    for (const Answering& procedure : everyProcedure) {
        if (procedure.result !=
            "xdr_rpcDraResultCode") // only what changes something answers no more than a code
            continue;
        const std::string& name = procedure.name;
        const bool isSaved = has(relaySettings(), name, true) || has(interfaceSettings(), name, true) ||
                             has(interfaceVlanSettings(), name, true) || has(vlanSettings(), name, true);
        const bool isNamed = has(relaySettings(), name, false) || has(interfaceSettings(), name, false);
        EXPECT_NE(isSaved || isNamed, otherwise.contains(name)) << name;
    }
}

TEST_F(Replay, StopsAtTheFirstRefusedLineAndNamesIt)
{
    const std::string lines = "set_enabled 1\n\nintf_set_mode 99 2\nset_full_mode 1\n";
    const std::string said = standardErrorOf([&] { EXPECT_EQ(applied(lines), exitRefused); });
    EXPECT_NE(said.find("lines:3: rpc_dra_intf_set_mode answered -1"), std::string::npos) << said;
    EXPECT_TRUE(ask(connection, "dra_is_enabled").at("value").get<bool>());
    EXPECT_FALSE(ask(connection, "dra_is_full_mode").at("value").get<bool>());
}

TEST_F(Replay, KeepsGoingWhenToldAndAnswersTheWorst)
{
    ApplyOptions how;
    how.keepGoing = true;
    EXPECT_EQ(applied("nonsense\nintf_set_mode 99 2\nset_full_mode 1\n", how), exitUsage);
    EXPECT_TRUE(ask(connection, "dra_is_full_mode").at("value").get<bool>());
}

TEST_F(Replay, DryRunCallsNothing)
{
    ApplyOptions how;
    how.dryRun = true;
    EXPECT_EQ(applied("set_full_mode 1\nintf_set_mode 99 2\n", how), exitGood);
    EXPECT_FALSE(ask(connection, "dra_is_full_mode").at("value").get<bool>());
    for (const char* wrong :
         {"set_full_mode", "set_full_mode 1 2", "set_full_mode maybe", "set_node_id \"open"})
        EXPECT_EQ(applied(wrong, how), exitUsage) << wrong;
}

TEST_F(Replay, NobodyThereIsUnreachable)
{
    ConnectionOptions nowhere;
    nowhere.port = 1;
    Connection dead(nowhere);
    EXPECT_THROW(static_cast<void>(call(dead, "ping")), Unreachable);
}

TEST_F(Replay, ShowsWhatIsSet)
{
    setServer(connection, "192.0.2.9", 100, true);
    setVlan(connection, 100, "full-mode", "true");
    setInterface(connection, 7, "remote-id", "customer", std::nullopt);
    setInterface(connection, 7, "circuit-id-format", "f", std::uint16_t{100});
    EXPECT_EQ(shown(showServers), "server 192.0.2.9 vlan 100\n");
    EXPECT_NE(shown(showVlans).find("vlan 100\n"), std::string::npos);
    EXPECT_NE(shown(showRelay).find("default-server"), std::string::npos);
    ShowOptions ofLine;
    ofLine.interface = 7;
    const std::string interface = shown(showInterfaces, ofLine);
    EXPECT_NE(interface.find("customer"), std::string::npos);
    EXPECT_NE(interface.find(" vlan 100\n  circuit-id-mode          none\n"), std::string::npos) << interface;
    const std::string clients = shown(showClients);
    EXPECT_EQ(clients, "open\nhistory\n");
    ofLine.json = true;
    ofLine.counters = true;
    EXPECT_EQ(Json::parse(shown(showInterfaces, ofLine)).at(0).at("counters").at("dhcp").at("discover"), 0);
}

} // namespace
