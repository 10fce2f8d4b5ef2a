#include "../rpc/RpcFixture.h"
#include "../rpc/SmallProgram.h"
#include "support/TemporaryFolder.h"
#include "tools/dhcpractl/Apply.h"
#include "tools/dhcpractl/Arguments.h"
#include "tools/dhcpractl/Change.h"
#include "tools/dhcpractl/ClientCall.h"
#include "tools/dhcpractl/Failures.h"
#include "tools/dhcpractl/Programs.h"
#include "tools/dhcpractl/Save.h"
#include "tools/dhcpractl/Settings.h"
#include "tools/dhcpractl/Show.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <sstream>
#include <sys/resource.h>

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

    std::string saved(const std::optional<IdRange>& range = std::nullopt)
    {
        std::ostringstream text;
        save(connection, range, text);
        return text.str();
    }
    int applied(const std::string& lines, ApplyOptions how = {})
    {
        how.file = folder.file("lines", lines);
        return apply(connection, how);
    }
    std::string shown(void (*show)(Connection&, const ShowOptions&, std::ostream&), ShowOptions how = {})
    {
        std::ostringstream text;
        show(connection, how, text);
        return text.str();
    }

    TemporaryFolder folder;
    ConnectionOptions options;
    Connection connection{options, relayProgram()};
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

constexpr std::pair<std::string_view, std::string_view> everyProcedure[] = {
#define PROCEDURE(number, name, filter, arguments, result, shape, operation) {#name, #result},
#include "rpc/dhcpra/dhcpraProcedures.def"
#undef PROCEDURE
};

bool has(std::span<const Setting> settings, std::string_view setter, bool withGetter)
{
    return std::ranges::any_of(settings, [&](const Setting& setting) {
        return setting.setter == setter && setting.getter.empty() != withGetter;
    });
}

/// Every procedure that sets something is saved, or the file says at its head that it is not.
TEST_F(Replay, NoSetterIsForgotten)
{
    // They do nothing, or set nothing that lasts, or the contrary of what is saved; the defaults stand first
    // in the file, servers and records come from their lists, and ATM parameters are named at the head.
    const std::set<std::string_view> otherwise{"dra_set_debug",
                                               "dra_set_debug_flags",
                                               "dra_intf_set_debug",
                                               "dra_intf_set_debug_flags",
                                               "dra6_intf_vlan_add",
                                               "dra_reset_intf_counters",
                                               "dra_port_add_event",
                                               "dra_apply_default_settings",
                                               "dra_set_server_vlan",
                                               "dra_intf_vlan_add",
                                               "dra_intf_vlan_del",
                                               "dra_intf_vlan_clear_all",
                                               "dra_bll_conf_event",
                                               "dra6_bll_conf_event",
                                               "dra_ext_message",
                                               "dra_ext_message_dhcpr",
                                               "dra_debug_message",
                                               "dra_ping",
                                               "dra_intf_set_circuitid_mode_atm_params"};
    std::string head = saved();
    head.resize(head.find("rpc_dra_apply"));
    EXPECT_NE(head.find("ATM parameters"), std::string::npos);
    for (const auto settings : {relaySettings(), interfaceSettings()})
        for (const Setting& setting : settings)
            if (setting.getter.empty()) {
                EXPECT_NE(head.find(setting.key), std::string::npos) << setting.key;
            }
    for (const auto& [procedure, result] : everyProcedure) {
        if (result != "rpcDraResultCode") // only what changes something answers no more than a code
            continue;
        const std::string name(procedure);
        const bool isSaved = has(relaySettings(), name, true) || has(interfaceSettings(), name, true) ||
                             has(interfaceVlanSettings(), name, true) || has(vlanSettings(), name, true);
        const bool isNamed = has(relaySettings(), name, false) || has(interfaceSettings(), name, false);
        EXPECT_NE(isSaved || isNamed, otherwise.contains(name)) << name;
    }
}

TEST_F(Replay, LinesAreCheckedBeforeTheyAreCalled)
{
    ApplyOptions how;
    how.keepGoing = true;
    EXPECT_EQ(applied("nonsense\nset_full_mode 1\nintf_set_mode 99 2\n", how), exitUsage) << "the worst";
    EXPECT_TRUE(ask(connection, "dra_is_full_mode").at("value").get<bool>());
    how.keepGoing = false;
    how.dryRun = true;
    EXPECT_EQ(applied("set_full_mode 0\nintf_set_mode 99 2\n", how), exitGood);
    EXPECT_TRUE(ask(connection, "dra_is_full_mode").at("value").get<bool>());
    for (const char* wrong :
         {"set_full_mode", "set_full_mode 1 2", "set_full_mode maybe", "set_node_id \"open"})
        EXPECT_EQ(applied(wrong, how), exitUsage) << wrong;
    how.file = std::filesystem::temp_directory_path().string();
    EXPECT_THROW(static_cast<void>(apply(connection, how)), UsageError) << "a folder";
}

TEST_F(Replay, FindsEveryInterfaceOfTheNode)
{
    constexpr std::uint32_t far = 4'000'000'000;
    node.reset();
    node = test::NodeBuilder().eth(1, "0/1").subscriber(7, "0/2/5").subscriber(far, "0/2/6").use();
    ASSERT_TRUE(relay().applyDefaultSettings());
    setInterface(connection, far, "remote-id", "far away", std::nullopt);
    EXPECT_NE(saved().find("rpc_dra_intf_set_remote_id 4000000000 \"far away\""), std::string::npos);
    EXPECT_EQ(saved(IdRange{0, 4095}).find("far away"), std::string::npos);

    // A daemon whose list does not come whole, since the disk is full inside the last id or from the start,
    // is asked for each id of a range, and not for all there may be.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t room : {0, 20}) {
        const rlimit full{room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
        const std::vector<std::uint32_t> inRange = findInterfaces(connection, IdRange{2, 4095});
        EXPECT_THROW(static_cast<void>(findInterfaces(connection, std::nullopt)), Refused) << room;
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(inRange, std::vector<std::uint32_t>{7}) << room;
    }
}

/// The tool's side of a program that is not the relay's.
TEST_F(Replay, CallsAnyProgram)
{
    static constexpr auto toJson = [](const auto& result) -> Json {
        if constexpr (std::is_same_v<decltype(result), const int&>)
            return {{"code", result}};
        else
            return {{"values", result.list.list_len}, {"result", result.result}};
    };
#define PROCEDURE(number, name, filter, arguments, result, shape, operation)                                 \
    procedureOf<rpc_##name##_1, xdr_##result, toJson>(number, "rpc_" #name, #arguments),
    static constexpr auto procedures = std::to_array<Procedure>({
#include "../rpc/smallProcedures.def"
    });
#undef PROCEDURE
    const Program program{"small",
                          "",
                          SMALL_PROGRAM,
                          SMALL_VERSION,
                          "small_",
                          procedures,
                          [](const Procedure&) { return 0; },
                          relayProgram().meaningOf};
    test::small::serve();
    Connection toSmall(options, program);
    EXPECT_EQ(call(toSmall, "store", {"name", "on", "1", "2", "3", "4"}), Json::object());
    EXPECT_EQ(call(toSmall, "small_list"), (Json{{"values", 5}, {"result", 0}}));
    EXPECT_EQ(call(toSmall, "3", {"21"}).at("code"), 42);
    EXPECT_EQ(wordsOf(procedures[0]), "NAME KEPT FIRST SECOND THIRD LAST-ONE");
    EXPECT_TRUE(isGood(program, procedures[0], Json::object()));
    EXPECT_THROW(static_cast<void>(call(toSmall, "dra_ping")), UsageError);
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
