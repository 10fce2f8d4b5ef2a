// Option 82: size rules, insertion, removal, and the parsers of its circuit id.
#include "relay/frame/Option82.h"
#include "relay/frame/dhcpraMessage.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <algorithm>
#include <initializer_list>

#include <gtest/gtest.h>

using namespace test;

namespace {

Bytes sent(const dhcpraMessage& message)
{
    return {message.bytesToSend().begin(), message.bytesToSend().end()};
}

std::string ids(char letter, std::size_t count) { return std::string(count, letter); }

} // namespace

// Sizes

TEST(Option82Sizes, CircuitIdFirstThenWhatIsLeft)
{
    using Sizes = frame::Option82Sizes;
    constexpr std::pair<Sizes, Sizes> cases[] = {
        {{0, 0}, {0, 0}},     {{10, 20}, {10, 20}}, {{254, 0}, {253, 0}}, {{300, 9}, {253, 0}},
        {{252, 1}, {252, 0}}, {{251, 5}, {251, 0}}, {{250, 5}, {250, 1}}, {{250, 1}, {250, 1}},
        {{249, 3}, {249, 2}}, {{0, 253}, {0, 253}}, {{0, 300}, {0, 253}}, {{1, 300}, {1, 250}}};
    const Bytes bytes(512, 'x');
    const std::span<const std::uint8_t> all(bytes);
    for (const auto& [wanted, fitted] : cases) {
        EXPECT_EQ(fitOption82(wanted, nullptr), fitted) << wanted.circuit << " and " << wanted.remote;
        const auto option = frame::encodeOption82(all.first(fitted.circuit), all.first(fitted.remote));
        EXPECT_EQ(option.size, option.bytes[1] + 2u);
    }
}

TEST(Option82Sizes, RoomInTheFrameCountsTheTextForms)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().dhcpSize(1200 - 42).build()));
    EXPECT_TRUE(message.isAddingOpt82Possible(ids('c', 100), ids('r', 193)));
    EXPECT_FALSE(message.isAddingOpt82Possible(ids('c', 100), ids('r', 194)));
    EXPECT_TRUE(message.isAddingOpt82Possible(ids('c', 293), ""));
    EXPECT_FALSE(message.isAddingOpt82Possible(ids('c', 294), "")) << "only 253 would go in, all count";
}

// Insertion

TEST(Option82Insertion, FormsAndEmptyIds)
{
    const auto after = [](const std::string& circuit, const std::string& remote, const Bytes& circuitBin,
                          const Bytes& remoteBin) {
        dhcpraMessage message;
        EXPECT_TRUE(message.load(discover().build()));
        message.doAddOption82(circuit, remote, circuitBin, remoteBin);
        return ParsedDhcpFrame(message.bytesToSend()).option(82);
    };
    EXPECT_EQ(after("", "", {}, {}), std::nullopt);
    EXPECT_EQ(after("ab", "", {}, {}), (Bytes{1, 2, 'a', 'b'}));
    EXPECT_EQ(after("", "ab", {}, {}), (Bytes{2, 2, 'a', 'b'}));
    EXPECT_EQ(after("ab", "cd", {0, 9, 8}, {}), (Bytes{1, 3, 0, 9, 8, 2, 2, 'c', 'd'}));
    EXPECT_EQ(after("ab", "cd", {}, {7}), (Bytes{1, 2, 'a', 'b', 2, 1, 7}));
    EXPECT_EQ(after("", "", {1}, {}), (Bytes{1, 1, 1}));
    EXPECT_EQ(after(ids('c', 250), "rrr", {}, {})->size(), 255u);
}

TEST(Option82Insertion, CompletesAMessageWithoutOptions)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    const auto sizeAfter = [&](std::size_t size) {
        EXPECT_TRUE(message.load(discover().dhcpSize(size).build()));
        message.doAddOption82("c", "", {}, {});
        EXPECT_EQ(message.bytesToSend().size(), message.getFrameFullSize());
        return message.getDhcpHeaderSize();
    };
    EXPECT_EQ(sizeAfter(240), 245u) << "no End in front of which it could stand";
    EXPECT_EQ(message.getDhcpFieldOption(82), message.getDhcpHeader() + 240);
    EXPECT_FALSE(message.isFrameValid());
    EXPECT_EQ(sizeAfter(100), 110u) << "a gap before the cookie is not counted";
    owner.text.clear();
    EXPECT_EQ(sizeAfter(236), 246u) << "5 bytes of option, End and cookie";
    EXPECT_NE(owner.text.find("doAddOption82(), frame without any option\n"), std::string::npos);
    EXPECT_TRUE(message.isFrameValid());
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).option(82), (Bytes{1, 1, 'c'}));
}

TEST(Option82Insertion, NeedsRoomInTheBuffer)
{
    auto frame = discover();
    const std::size_t plain = frame.size();
    dhcpraMessage message;
    for (const std::size_t room : {6u, 7u, 13u, 14u}) {
        ASSERT_TRUE(message.load(frame.ethernetPadding(2048 - plain - room, 0x5A).build()));
        const Bytes before = sent(message);
        EXPECT_EQ(message.isAddingOpt82Possible("cid", ""), room >= 7);
        EXPECT_EQ(message.isAddingOpt82Possible("cid", "remot"), room >= 14);
        message.doAddOption82("cid", "", {}, {});
        EXPECT_EQ(message.addOk, room >= 7) << room;
        if (room < 7)
            EXPECT_EQ(sent(message), before);
        else
            EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).subOption82(1), "cid");
    }
}

TEST(Option82Insertion, TellsWhatItDoes)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    ASSERT_TRUE(message.load(discover().build()));
    message.doAddOption82(ids('c', 250), ids('r', 9), {}, {1, 2});
    EXPECT_EQ(owner.text, "doAddOption82()\nUsing CID ascii\nUsing RID bin\n"
                          "Original circuitSize=250, remoteSize=2\n"
                          "Noe enough space, truncate remote id from 2 to 1\n"
                          "Final circuitSize=250, remoteSize=1\n"
                          "subOptCirIdSize=252, subOptRemIdSize=3\n");
    owner.text.clear();
    message.doAddOption82(ids('c', 300), "r", {1}, {});
    EXPECT_NE(owner.text.find("Using CID bin\nUsing RID ascii\n"), std::string::npos);
    message.doAddOption82(ids('c', 300), "r", {}, {});
    EXPECT_NE(owner.text.find("circuitSize too big (300), truncate to 253\nNo space left for remote id\n"),
              std::string::npos);
}

// Removal

TEST(Option82Removal, GivesTheFrameBackAsItWas)
{
    // The last one fills the buffer, so that nothing but the frame's own bytes can move up.
    auto with = ack().vlan(7).option82("circuit", "remote").option(1, "mask");
    for (const std::size_t padding : {std::size_t{0}, std::size_t{100}, 2048 - with.size()}) {
        dhcpraMessage message;
        ASSERT_TRUE(message.load(with.ethernetPadding(padding, 0x5A).build()));
        message.removeOk = false;
        message.doRemoveOption82();
        message.updateCRC();
        EXPECT_TRUE(message.removeOk);
        EXPECT_EQ(sent(message), ack().vlan(7).option(1, "mask").ethernetPadding(padding, 0x5A).build());
        EXPECT_TRUE(std::all_of(message.buffer.begin() + std::ssize(sent(message)), message.buffer.end(),
                                [](auto byte) { return byte == 0; }))
            << "the removed tail stays behind";
    }
}

TEST(Option82Removal, OfTwoOfNoneAndOfADamagedOne)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    const auto removed = [&](const DhcpFrame& frame) {
        EXPECT_TRUE(message.load(frame.build()));
        owner.text.clear();
        message.removeOk = false;
        message.doRemoveOption82();
        return message.removeOk;
    };
    EXPECT_TRUE(removed(ack().option82("a").option82("b")));
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).subOption82(1), "b");
    EXPECT_TRUE(removed(ack()));
    EXPECT_EQ(owner.text, "doRemoveOption82()\n\t nothing to remove\n");
    EXPECT_TRUE(removed(ack().noEnd().rawOptions({82, 200, 1, 2})));
    EXPECT_EQ(message.getDhcpHeaderSize(), 243u) << "no more goes than the message holds";
    EXPECT_FALSE(removed(ack().noEnd().rawOptions({82}))) << "there is no length to go by";
    EXPECT_EQ(owner.text, "doRemoveOption82()\n\t impossible, no option 82 found for removing!\n");
    EXPECT_EQ(sent(message), ack().noEnd().rawOptions({82}).build());
}

// Circuit id

TEST(CircuitId, StandsInFirstPlace)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    std::string circuitId = "old";
    ASSERT_TRUE(message.load(offer().option82({{2, {'r'}}, {1, {'c'}}}).build()));
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(owner.text, "\t parseOpt82ForCircuitId(): suboption circuitId not found\n");
    ASSERT_TRUE(message.load(offer().build()));
    owner.text.clear();
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(owner.text, "\t parseOpt82ForCircuitId(): option 82 not found\n");
    std::uint16_t vlan = 0;
    EXPECT_FALSE(message.parseOpt82ForVlan(vlan) || message.parseOpt82ForCVlan(vlan) ||
                 message.parseOpt82ForPort(circuitId));
    EXPECT_EQ(circuitId, "old");

    // A sub-option that claims more than its option holds is cut there.
    ASSERT_TRUE(message.load(offer().option(82, Bytes{1, 9, 'a', 'b'}).option(12, "host").build()));
    EXPECT_TRUE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(circuitId, "ab");
}

namespace {

/// What the parsers answer for a circuit id: a number or a port, else what the debug text says.
struct CircuitIdCase
{
    const char* text;
    const char* vlan;
    const char* cvlan;
    const char* port;
};

// What is not found; % stands for the circuit id.
constexpr const char* noVlan = "\t VLAN not found! sub-option circuitId = [%]\n";
constexpr const char* emptyCvlan = "\t C-VLAN not found! sub-option circuitId = [%]\n";
constexpr const char* noCvlan = "\t No C-VLAN present. circuitId = [%] \n";
constexpr const char* noSlash = "\t '/' not found! sub-option circuitId = [%]\n";
constexpr const char* noColon = "\t ':' not found! sub-option circuitId = [%]\n";
constexpr const char* noPort = "\t port not found! sub-option circuitId = [%]\n";
constexpr const char* strangeVlan = "\t Unknown circuit id format. No VLAN present. circuitId = [%] \n";
constexpr const char* strangeCvlan = "\t Unknown circuit id format. No C-VLAN present. circuitId = [%] \n";
constexpr const char* strangePort = "\t Unknown circuit id format. No port found. circuitId = [%] \n";
constexpr const char* atmVlan = "\t ATM type circuit id. No VLAN present. circuitId = [%] \n";
constexpr const char* atmCvlan = "\t ATM type circuit id. No C-VLAN present. circuitId = [%] \n";

class CircuitIdForms : public testing::Test
{
protected:
    static std::string with(std::string text, const std::string& value)
    {
        if (const auto place = text.find('%'); place != std::string::npos)
            text.replace(place, 1, value);
        return text;
    }
    void check(const CircuitIdCase& each)
    {
        SCOPED_TRACE(each.text);
        ASSERT_TRUE(message.load(offer().option82(each.text).build()));
        number("Vlan", "VLAN", each, each.vlan, &dhcpraMessage::parseOpt82ForVlan);
        number("CVlan", "C-VLAN", each, each.cvlan, &dhcpraMessage::parseOpt82ForCVlan);
        std::string port = "untouched";
        owner.text.clear();
        const bool found = message.parseOpt82ForPort(port);
        EXPECT_EQ(owner.text, "parseOpt82ForPort()\n" + (found ? "" : with(each.port, each.text)));
        EXPECT_TRUE(port == each.port || !found) << port;
    }
    void number(const std::string& parser, const std::string& name, const CircuitIdCase& each,
                const std::string& expected, bool (dhcpraMessage::*parse)(std::uint16_t&) const)
    {
        std::uint16_t vlan = 7777;
        owner.text.clear();
        const bool found = (message.*parse)(vlan);
        const std::string text =
            found ? "\t " + name + " found: " + expected + ". CircuitId = [%] \n" : expected;
        EXPECT_EQ(owner.text, "parseOpt82For" + parser + "()\n" + with(text, each.text));
        EXPECT_EQ(std::to_string(vlan), found ? expected : "7777");
    }

    FakeFrameOwner owner;
    dhcpraMessage message{&owner};
};

} // namespace

TEST_F(CircuitIdForms, AreReadBack)
{
    for (const CircuitIdCase& each : std::initializer_list<CircuitIdCase>{
             // maker form
             {"KORVANEL:sh1 eth 3/0/2/5:100", "100", noCvlan, "0/2/5"},
             {"KORVANEL:sh1 eth 3/0/2/5:100:200", "100", "200", "0/2/5"},
             {"KORVANEL:sh1 eth 3/0/2/5:<vid>", "0", noCvlan, "0/2/5"},
             {"KORVANEL:sh1 eth 3/0/2/5:100:", "100", emptyCvlan, "0/2/5"},
             {"KORVANEL:sh1 eth 3/0/2/5::200", strangeVlan, "200", "0/2/5"},
             {"KORVANEL:sh1 eth 5:", noVlan, noCvlan, noSlash},
             {"KORVANEL:sh1 eth 3/5:100", "100", noCvlan, noSlash},
             {"KORVANEL:sh1 eth 3/0/:100", "100", noCvlan, "0/"},
             {"KORVANEL:sh1 eth 3/0/2/5", strangeVlan, strangeCvlan, strangePort},
             {"KORVANEL:a 1/2:3/4:5", "3", "5", "2"},
             {"KORVANEL:a:1/2/3/4:5", "1", "5", noPort},
             // standard form
             {"node1 eth 1/3/7:100", "100", noCvlan, "0/7"},
             {"node1 eth 1/3/2/5/6:100", "100", noCvlan, "0/6"},
             {"/7:100", "100", noCvlan, noSlash},
             {"node1 eth 1/3/:100", "100", noCvlan, noPort},
             {":100:200", strangeVlan, "200", noSlash},
             {"node 1:2/3/4", "2", noCvlan, noPort},
             {"node KORVANEL eth 1/3/2/5:100", strangeVlan, strangeCvlan, strangePort},
             // numbers
             {"n e 1/3/7: 42x", "42", noCvlan, "0/7"},
             {"n e 1/3/7:-1", "65535", noCvlan, "0/7"},
             {"n e 1/3/7:99999999999999999999", "65535", noCvlan, "0/7"},
             {"n e 1/3/7:4095:65636", "4095", "100", "0/7"},
         })
        check(each);
}

TEST_F(CircuitIdForms, TheAtmFormNamesALineAndItsCircuit)
{
    owner.add(20, "0/4", Interfaces::interfaceType::subscriber);
    owner.add(21, "0/4/1", Interfaces::interfaceType::pvc);
    ASSERT_TRUE(owner.interfaces.setCircuitIdModeATMParams(21, 20, 8, 35));
    const auto noPvc = [](const std::string& vpiVci) {
        return "\t ':' not found! dhcpra_impl.getInterfaceByVpiVci(parentId=20," + vpiVci + "). Return.\n";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"KORVANEL:sh1 atm 3/4:8.35", "0/4/1"},
        {"KORVANEL:sh1 atm 3/2/4:8.35", "0/4/1"},
        {"atmosphere eth 1/3/4:8.35", "0/4/1"},
        {"KORVANEL:sh1 atm 3/4:8", noPvc("vpi=8,vci=0")},
        {"KORVANEL:sh.1 atm 3/4:8", noPvc("vpi=8,vci=1")},
        {"KORVANEL:sh1 atm 3/4:.", noPvc("vpi=0,vci=0")},
        {"KORVANEL:sh1 atm 3/4:4294967297.1", noPvc("vpi=1,vci=1")},
        {"KORVANEL:sh1 atm 3/5:8.35", "\t ':' not found! dhcpra_impl.getInterfaceByName(0/5). Return.\n"},
        {"KORVANEL:sh1 atm 3/:8.35", noPort},
        {"KORVANEL:sh1 atm 3:8.35/4", noPort},
        {"sh1 atm 3/4 8.35", noColon},
        {"/atm:8.35", noSlash},
    };
    for (const auto& [text, port] : cases)
        check({text, atmVlan, atmCvlan, port.c_str()});
    std::string line;
    ASSERT_TRUE(message.load(offer().option82("KORVANEL:sh1 atm 3/4:8.36").build()));
    EXPECT_FALSE(message.parseOpt82ForPort(line));
    EXPECT_EQ(line, "0/4") << "shown by callers even if there is no such interface";
}
