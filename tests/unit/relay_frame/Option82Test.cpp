// Option 82: size rules, insertion, removal, and the parsers of its circuit id.
#include "relay/frame/Option82.h"
#include "relay/frame/CircuitIdText.h"
#include "relay/frame/dhcpraMessage.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameOwner.h"
#include "support/ParsedDhcpFrame.h"

#include <gtest/gtest.h>

using namespace test;
using namespace frame;
using namespace wire;

namespace {

test::Bytes sent(const dhcpraMessage& message)
{
    return {message.bytesToSend().begin(), message.bytesToSend().end()};
}

std::string ids(char letter, std::size_t count) { return std::string(count, letter); }

} // namespace

// Sizes

struct SizeCase
{
    Option82Sizes wanted;
    Option82Sizes fitted;
};

TEST(Option82Sizes, CircuitIdFirstThenWhatIsLeft)
{
    constexpr SizeCase cases[] = {{{0, 0}, {0, 0}},     {{10, 0}, {10, 0}},       {{0, 10}, {0, 10}},
                                  {{10, 20}, {10, 20}}, {{253, 0}, {253, 0}},     {{254, 0}, {253, 0}},
                                  {{300, 0}, {253, 0}}, {{300, 9}, {253, 0}},     {{253, 10}, {253, 0}},
                                  {{252, 1}, {252, 0}}, {{251, 5}, {251, 0}},     {{250, 5}, {250, 1}},
                                  {{250, 1}, {250, 1}}, {{249, 2}, {249, 2}},     {{249, 3}, {249, 2}},
                                  {{0, 253}, {0, 253}}, {{0, 300}, {0, 253}},     {{1, 300}, {1, 250}},
                                  {{1, 250}, {1, 250}}, {{100, 151}, {100, 151}}, {{100, 152}, {100, 151}}};
    for (const auto& [wanted, fitted] : cases) {
        EXPECT_EQ(fitOption82(wanted, nullptr), fitted) << wanted.circuit << " and " << wanted.remote;
        const test::Bytes bytes(512, 'x');
        const std::span<const std::uint8_t> all(bytes);
        const auto option = encodeOption82(all.first(fitted.circuit), all.first(fitted.remote));
        EXPECT_EQ(option.size, option.bytes[1] + 2u);
        EXPECT_LE(option.size, 257u);
    }
}

TEST(Option82Sizes, RoomInTheFrameCountsTheTextForms)
{
    dhcpraMessage message;
    auto frame = discover();
    const auto frameSize = [&] { return frame.size() - test::recordSize; };
    frame.dhcpSize(1300 - 42);
    ASSERT_EQ(frameSize(), 1300u);
    ASSERT_TRUE(message.load(frame.build()));
    EXPECT_EQ(message.getFrameSize(), 1300);
    EXPECT_TRUE(message.isAddingOpt82Possible(ids('c', 100), ids('r', 93)));
    EXPECT_FALSE(message.isAddingOpt82Possible(ids('c', 100), ids('r', 94)));
    ASSERT_TRUE(message.load(discover().dhcpSize(1200 - 42).build()));
    EXPECT_TRUE(message.isAddingOpt82Possible(ids('c', 293), ""));
    EXPECT_FALSE(message.isAddingOpt82Possible(ids('c', 294), "")) << "only 253 would go in, all count";
}

// Insertion

TEST(Option82Insertion, StandsInFrontOfEnd)
{
    dhcpraMessage message;
    const auto plain = discover().from(macOf(3)).vlan(100).option(12, "host").pad(3);
    ASSERT_TRUE(message.load(plain.build()));
    message.doAddOption82("cid", "remote", {}, {});
    message.updateCRC();
    // 82, 13, 1, 3, "cid", 2, 6, "remote", made by the builder.
    auto expected = plain;
    EXPECT_EQ(sent(message), expected.option82("cid", "remote").build());
    EXPECT_EQ(message.buffer.at(plain.offsetOf(Part::options) + 12), 82);
    EXPECT_EQ(message.buffer.at(plain.offsetOf(Part::options) + 13), 13);
    EXPECT_TRUE(message.addOk);
}

TEST(Option82Insertion, FormsAndEmptyIds)
{
    const auto after = [](const std::string& circuit, const std::string& remote,
                          const test::Bytes& circuitBin, const test::Bytes& remoteBin) {
        dhcpraMessage message;
        EXPECT_TRUE(message.load(discover().build()));
        message.doAddOption82(circuit, remote, circuitBin, remoteBin);
        return ParsedDhcpFrame(message.bytesToSend()).option(82);
    };
    EXPECT_EQ(after("", "", {}, {}), std::nullopt);
    EXPECT_EQ(after("ab", "", {}, {}), (test::Bytes{1, 2, 'a', 'b'}));
    EXPECT_EQ(after("", "ab", {}, {}), (test::Bytes{2, 2, 'a', 'b'}));
    EXPECT_EQ(after("ab", "cd", {0, 9, 8}, {}), (test::Bytes{1, 3, 0, 9, 8, 2, 2, 'c', 'd'}));
    EXPECT_EQ(after("ab", "cd", {}, {7}), (test::Bytes{1, 2, 'a', 'b', 2, 1, 7}));
    EXPECT_EQ(after("", "", {1}, {}), (test::Bytes{1, 1, 1}));

    const auto full = after(ids('c', 253), ids('r', 10), {}, {});
    ASSERT_TRUE(full);
    EXPECT_EQ(full->size(), 255u);
    EXPECT_EQ(after(ids('c', 250), "rrr", {}, {})->back(), 'r');
    EXPECT_EQ(after(ids('c', 250), "rrr", {}, {})->size(), 255u);
}

TEST(Option82Insertion, KeepsPaddingBehindEnd)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().padAfterEnd(60).build()));
    message.doAddOption82("cid", "", {}, {});
    const ParsedDhcpFrame seen(message.bytesToSend());
    EXPECT_EQ(seen.behindEnd, test::Bytes(60, 0));
    EXPECT_EQ(seen.subOption82(1), "cid");
}

TEST(Option82Insertion, WithoutEndAtTheEndOfTheMessage)
{
    dhcpraMessage message;
    ASSERT_TRUE(message.load(discover().dhcpSize(240).build()));
    message.doAddOption82("c", "", {}, {});
    EXPECT_EQ(message.getDhcpHeaderSize(), 245u);
    EXPECT_EQ(message.getDhcpFieldOption(82), message.getDhcpHeader() + 240);
    EXPECT_FALSE(message.isFrameValid());
}

TEST(Option82Insertion, CompletesAMessageWithoutOptions)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    ASSERT_TRUE(message.load(discover().dhcpSize(236).build()));
    message.doAddOption82("c", "", {}, {});
    EXPECT_NE(owner.text.find("doAddOption82(), frame without any option\n"), std::string::npos);
    // 5 bytes of option, End and cookie.
    EXPECT_EQ(message.getDhcpHeaderSize(), 246u);
    EXPECT_TRUE(message.isFrameValid());
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).option(82), (test::Bytes{1, 1, 'c'}));

    // A gap before the cookie is not counted.
    ASSERT_TRUE(message.load(discover().dhcpSize(100).build()));
    message.doAddOption82("c", "", {}, {});
    EXPECT_EQ(message.getDhcpHeaderSize(), 110u);
    EXPECT_EQ(message.bytesToSend().size(), message.getFrameFullSize());
}

TEST(Option82Insertion, NeedsRoomInTheBuffer)
{
    auto frame = discover();
    const std::size_t plain = frame.size();
    dhcpraMessage message;
    for (const std::size_t room : {0u, 5u, 6u, 7u, 8u}) {
        ASSERT_TRUE(message.load(frame.ethernetPadding(2048 - plain - room, 0x5A).build()));
        const test::Bytes before = sent(message);
        message.doAddOption82("cid", "", {}, {});
        EXPECT_EQ(message.addOk, room >= 7) << room;
        EXPECT_EQ(message.isAddingOpt82Possible("cid", ""), room >= 7 + 7) << room;
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
    message.doAddOption82(ids('c', 300), "r", {}, {});
    EXPECT_NE(owner.text.find("circuitSize too big (300), truncate to 253\nNo space left for remote id\n"),
              std::string::npos);
    owner.text.clear();
    message.doAddOption82("", "", {}, {});
    EXPECT_EQ(owner.text, "doAddOption82()\nUsing CID ascii\nUsing RID ascii\n"
                          "Original circuitSize=0, remoteSize=0\n");

    ASSERT_TRUE(message.load(discover().etherType(0x86DD).build()));
    owner.text.clear();
    message.doAddOption82("c", "", {}, {});
    EXPECT_NE(owner.text.find("dhcpraMessage::doAddOption82:"), std::string::npos) << owner.text;
    EXPECT_NE(owner.text.find(": ipHeader NULL pointer\n"), std::string::npos);
    EXPECT_NE(owner.text.find("\t getIpHeader(): not an IP packet (0x86dd).\n"), std::string::npos);
}

// Removal

TEST(Option82Removal, GivesTheFrameBackAsItWas)
{
    // The last one fills the buffer, so that nothing but the frame's own bytes can move up.
    auto with = ack().vlan(7).option82("circuit", "remote").option(1, "mask");
    for (const std::size_t padding : {std::size_t{0}, std::size_t{7}, std::size_t{100}, 2048 - with.size()}) {
        dhcpraMessage message;
        const auto plain = ack().vlan(7).option(1, "mask").ethernetPadding(padding, 0x5A);
        with.ethernetPadding(padding, 0x5A);
        ASSERT_TRUE(message.load(with.build()));
        message.removeOk = false;
        message.doRemoveOption82();
        message.updateCRC();
        EXPECT_TRUE(message.removeOk);
        EXPECT_EQ(sent(message), plain.build()) << padding;
        for (std::size_t i = sent(message).size(); i < message.buffer.size(); ++i)
            ASSERT_EQ(message.buffer[i], 0) << "the removed tail stays behind at " << i;
    }
}

TEST(Option82Removal, TakesTheFirstOfTwoAndNothingFromAFrameWithoutOne)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    ASSERT_TRUE(message.load(ack().option82("a").option82("b").build()));
    message.doRemoveOption82();
    EXPECT_EQ(ParsedDhcpFrame(message.bytesToSend()).subOption82(1), "b");
    message.doRemoveOption82();
    const test::Bytes before = sent(message);
    owner.text.clear();
    message.removeOk = false;
    message.doRemoveOption82();
    EXPECT_TRUE(message.removeOk);
    EXPECT_EQ(sent(message), before);
    EXPECT_EQ(owner.text, "doRemoveOption82()\n\t nothing to remove\n");
}

TEST(Option82Removal, OfADamagedOption)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    ASSERT_TRUE(message.load(ack().noEnd().rawOptions({82, 200, 1, 2}).build()));
    message.doRemoveOption82();
    EXPECT_TRUE(message.removeOk);
    EXPECT_EQ(message.getDhcpHeaderSize(), 243u) << "no more goes than the message holds";

    ASSERT_TRUE(message.load(ack().noEnd().rawOptions({82}).build()));
    const test::Bytes before = sent(message);
    owner.text.clear();
    message.doRemoveOption82();
    EXPECT_FALSE(message.removeOk) << "there is no length to go by";
    EXPECT_EQ(owner.text, "doRemoveOption82()\n\t impossible, no option 82 found for removing!\n");
    EXPECT_EQ(sent(message), before);
}

// Circuit id

TEST(CircuitId, StandsInFirstPlace)
{
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    std::string circuitId = "old";
    ASSERT_TRUE(message.load(offer().option82("one two", "r").build()));
    EXPECT_TRUE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(circuitId, "one two");

    ASSERT_TRUE(message.load(offer().option82({{2, {'r'}}, {1, {'c'}}}).build()));
    owner.text.clear();
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(owner.text, "\t parseOpt82ForCircuitId(): suboption circuitId not found\n");
    ASSERT_TRUE(message.load(offer().build()));
    owner.text.clear();
    EXPECT_FALSE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(owner.text, "\t parseOpt82ForCircuitId(): option 82 not found\n");
    EXPECT_EQ(circuitId, "one two");

    // A sub-option that claims more than its option holds is cut there.
    ASSERT_TRUE(message.load(offer().option(82, test::Bytes{1, 9, 'a', 'b'}).option(12, "host").build()));
    EXPECT_TRUE(message.parseOpt82ForCircuitId(circuitId));
    EXPECT_EQ(circuitId, "ab");
}

struct TextCase
{
    const char* text;
    const char* vlan; ///< number, or the last words of the debug text
    const char* cvlan;
    const char* port;
};

TEST(CircuitId, TextFormsAreReadBack)
{
    constexpr TextCase cases[] = {
        // maker form
        {"KORVANEL:sh1 eth 3/0/2/5:100", "100", "No C-VLAN", "0/2/5"},
        {"KORVANEL:sh1 eth 3/0/2/5:100:200", "100", "200", "0/2/5"},
        {"KORVANEL:sh1 eth 3/0/2:100", "100", "No C-VLAN", "0/2"},
        {"KORVANEL:sh1 eth 3/0/2/5:<vid>", "0", "No C-VLAN", "0/2/5"},
        {"KORVANEL:sh1 eth 3/0/2/5:", "VLAN not found!", "No C-VLAN", "0/2/5"},
        {"KORVANEL:sh1 eth 3/0/2/5:100:", "100", "C-VLAN not found!", "0/2/5"},
        {"KORVANEL:sh1 eth 3/0/2/5::200", "Unknown", "200", "0/2/5"},
        {"KORVANEL:sh1 eth 3/5:100", "100", "No C-VLAN", "'/' not found!"},
        {"KORVANEL:sh1 eth 5:100", "100", "No C-VLAN", "'/' not found!"},
        {"KORVANEL:sh1 eth 3/0/:100", "100", "No C-VLAN", "0/"},
        {"KORVANEL:sh1 eth 3/0/2/5", "Unknown", "Unknown", "Unknown"},
        {"a:b KORVANEL:c eth 3/0/2/5:1:2", "Unknown", "Unknown", "Unknown"},
        {"KORVANEL:a 1/2:3/4:5", "3", "5", "2"},
        {"KORVANEL:a:1/2/3/4:5", "1", "5", "port not found!"},
        // standard form
        {"node1 eth 1/3/2/5:100", "100", "No C-VLAN", "0/2/5"},
        {"node1 eth 1/3/2/5:100:200", "100", "200", "0/2/5"},
        {"node1 eth 1/3/7:100", "100", "No C-VLAN", "0/7"},
        {"node1 eth 1/3/2/5/6:100", "100", "No C-VLAN", "0/6"},
        {"node1 eth 7:100", "100", "No C-VLAN", "'/' not found!"},
        {"/7:100", "100", "No C-VLAN", "'/' not found!"},
        {"node1 eth 1/3/:100", "100", "No C-VLAN", "port not found!"},
        {":100:200", "Unknown", "200", "'/' not found!"},
        {":100", "100", "No C-VLAN", "'/' not found!"},
        {"node1 eth 1/3/2::", "Unknown", "C-VLAN not found!", "0/2"},
        {"node 1:2/3/4", "2", "No C-VLAN", "port not found!"},
        {"node KORVANEL eth 1/3/2/5:100", "Unknown", "Unknown", "Unknown"},
        {"", "Unknown", "Unknown", "Unknown"},
        // numbers
        {"n e 1/3/7: 42x", "42", "No C-VLAN", "0/7"},
        {"n e 1/3/7:+42", "42", "No C-VLAN", "0/7"},
        {"n e 1/3/7:-1", "65535", "No C-VLAN", "0/7"},
        {"n e 1/3/7:99999999999999999999", "65535", "No C-VLAN", "0/7"},
        {"n e 1/3/7:4095:65636", "4095", "100", "0/7"},
    };
    const auto lastWords = [](VlanFieldResult result, const char* name) -> std::string {
        switch (result) {
        case VlanFieldResult::found:
            break;
        case VlanFieldResult::atmForm:
            return "ATM";
        case VlanFieldResult::noCvlan:
            return "No C-VLAN";
        case VlanFieldResult::unknownForm:
            return "Unknown";
        case VlanFieldResult::empty:
            return std::string(name) + " not found!";
        }
        return {};
    };
    const auto shown = [&](const VlanField& field, const char* name) {
        return field.result == VlanFieldResult::found ? std::to_string(field.vlan)
                                                      : lastWords(field.result, name);
    };
    const auto shownPort = [](const PortField& field) -> std::string {
        switch (field.result) {
        case PortFieldResult::found:
            return field.port;
        case PortFieldResult::foundAtm:
            return "ATM";
        case PortFieldResult::unknownForm:
            return "Unknown";
        case PortFieldResult::noColon:
            return "':' not found!";
        case PortFieldResult::noSlash:
            return "'/' not found!";
        case PortFieldResult::empty:
            return "port not found!";
        }
        return {};
    };
    for (const auto& each : cases) {
        EXPECT_EQ(shown(vlanOfCircuitId(each.text), "VLAN"), each.vlan) << each.text;
        EXPECT_EQ(shown(cvlanOfCircuitId(each.text), "C-VLAN"), each.cvlan) << each.text;
        EXPECT_EQ(shownPort(portOfCircuitId(each.text)), each.port) << each.text;
    }
}

struct AtmCase
{
    const char* text;
    PortFieldResult result;
    const char* port = "";
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
};

TEST(CircuitId, AtmForm)
{
    constexpr AtmCase cases[] = {
        {"KORVANEL:sh1 atm 3/4:8.35", PortFieldResult::foundAtm, "0/4", 8, 35},
        {"KORVANEL:sh1 atm 3/2/4:8.35", PortFieldResult::foundAtm, "0/4", 8, 35},
        {"atmosphere eth 1/3/7:8.35", PortFieldResult::foundAtm, "0/7", 8, 35},
        {"KORVANEL:sh1 atm 3/4:8", PortFieldResult::foundAtm, "0/4", 8, 0},
        {"KORVANEL:sh.1 atm 3/4:8", PortFieldResult::foundAtm, "0/4", 8, 1},
        {"KORVANEL:sh1 atm 3/4:", PortFieldResult::foundAtm, "0/4", 0, 0},
        {"KORVANEL:sh1 atm 3/4:.", PortFieldResult::foundAtm, "0/4", 0, 0},
        {"KORVANEL:sh1 atm 3/4:4294967297.1", PortFieldResult::foundAtm, "0/4", 1, 1},
        {"KORVANEL:sh1 atm 3/:8.35", PortFieldResult::empty},
        {"KORVANEL:sh1 atm 3:8.35/4", PortFieldResult::empty},
        {"sh1 atm 3/4 8.35", PortFieldResult::noColon},
        {"sh1 atm 4:8.35", PortFieldResult::noSlash},
        {"/atm:8.35", PortFieldResult::noSlash},
    };
    for (const auto& each : cases) {
        const auto field = portOfCircuitId(each.text);
        EXPECT_EQ(field.result, each.result) << each.text;
        EXPECT_EQ(vlanOfCircuitId(each.text).result, VlanFieldResult::atmForm);
        EXPECT_EQ(cvlanOfCircuitId(each.text).result, VlanFieldResult::atmForm);
        if (each.result != PortFieldResult::foundAtm)
            continue;
        EXPECT_EQ(field.port, each.port) << each.text;
        EXPECT_EQ(field.vpi, each.vpi) << each.text;
        EXPECT_EQ(field.vci, each.vci) << each.text;
    }
}

TEST(CircuitId, ParsersKeepTheirArgumentWhereTheyFail)
{
    dhcpraMessage message;
    std::uint16_t vlan = 0;
    std::uint16_t cvlan = 7;
    std::string port;
    ASSERT_TRUE(message.load(offer().option82("node1 eth 1/3/2/5:100").build()));
    EXPECT_TRUE(message.parseOpt82ForVlan(vlan));
    EXPECT_FALSE(message.parseOpt82ForCVlan(cvlan));
    EXPECT_TRUE(message.parseOpt82ForPort(port));
    EXPECT_EQ(vlan, 100);
    EXPECT_EQ(cvlan, 7);
    EXPECT_EQ(port, "0/2/5");
}

/// Debug texts of the three parsers; % stands for the circuit id.
struct ParserTexts
{
    const char* circuitId;
    const char* vlan;
    const char* cvlan;
    const char* port;
};

TEST(CircuitId, ParsersTellWhatTheyFound)
{
    constexpr const char* noSlash = "\t '/' not found! sub-option circuitId = [%]\n";
    constexpr const char* noPort = "\t port not found! sub-option circuitId = [%]\n";
    constexpr const char* noCvlan = "\t No C-VLAN present. circuitId = [%] \n";
    constexpr const char* atmVlan = "\t ATM type circuit id. No VLAN present. circuitId = [%] \n";
    constexpr const char* atmCvlan = "\t ATM type circuit id. No C-VLAN present. circuitId = [%] \n";
    constexpr ParserTexts cases[] = {
        {"n e 1/3/2/5:100", "\t VLAN found: 100. CircuitId = [%] \n", noCvlan, ""},
        {"n e 1/3/2/5:100:7", "\t VLAN found: 100. CircuitId = [%] \n",
         "\t C-VLAN found: 7. CircuitId = [%] \n", ""},
        {"n:", "\t VLAN not found! sub-option circuitId = [%]\n", noCvlan, noSlash},
        {"n 1/3/:8:", "\t VLAN found: 8. CircuitId = [%] \n",
         "\t C-VLAN not found! sub-option circuitId = [%]\n", noPort},
        {"x", "\t Unknown circuit id format. No VLAN present. circuitId = [%] \n",
         "\t Unknown circuit id format. No C-VLAN present. circuitId = [%] \n",
         "\t Unknown circuit id format. No port found. circuitId = [%] \n"},
        {"atm", atmVlan, atmCvlan, "\t ':' not found! sub-option circuitId = [%]\n"},
        {"atm:8.35", atmVlan, atmCvlan, noSlash},
        {"s atm 3/:8.35", atmVlan, atmCvlan, noPort},
    };
    FakeFrameOwner owner;
    dhcpraMessage message(&owner);
    for (const ParserTexts& each : cases) {
        const auto told = [&](const char* opening, std::string text) {
            if (const auto place = text.find('%'); place != std::string::npos)
                text.replace(place, 1, each.circuitId);
            EXPECT_EQ(owner.text, opening + text);
            owner.text.clear();
        };
        std::uint16_t vlan = 0;
        std::string port;
        ASSERT_TRUE(message.load(offer().option82(each.circuitId).build()));
        (void)message.parseOpt82ForVlan(vlan);
        told("parseOpt82ForVlan()\n", each.vlan);
        (void)message.parseOpt82ForCVlan(vlan);
        told("parseOpt82ForCVlan()\n", each.cvlan);
        (void)message.parseOpt82ForPort(port);
        told("parseOpt82ForPort()\n", each.port);
    }
}

TEST(CircuitId, PortOfAPvcIsFoundThroughItsLine)
{
    FakeFrameOwner owner;
    owner.add(20, "0/4", Interfaces::interfaceType::subscriber);
    owner.add(21, "0/4/1", Interfaces::interfaceType::pvc);
    ASSERT_TRUE(owner.interfaces.setCircuitIdModeATMParams(21, 20, 8, 35));
    dhcpraMessage message(&owner);
    const auto parse = [&](const char* circuitId, std::string& port) {
        EXPECT_TRUE(message.load(offer().option82(circuitId).build()));
        owner.text.clear();
        return message.parseOpt82ForPort(port);
    };
    std::string port;
    EXPECT_TRUE(parse("KORVANEL:sh1 atm 3/4:8.35", port));
    EXPECT_EQ(port, "0/4/1");
    EXPECT_FALSE(parse("KORVANEL:sh1 atm 3/4:8.36", port));
    EXPECT_EQ(port, "0/4");
    EXPECT_EQ(owner.text,
              "parseOpt82ForPort()\n\t ':' not found! dhcpra_impl.getInterfaceByVpiVci(parentId=20,vpi=8,"
              "vci=36). Return.\n");
    EXPECT_FALSE(parse("KORVANEL:sh1 atm 3/5:8.35", port));
    EXPECT_EQ(owner.text,
              "parseOpt82ForPort()\n\t ':' not found! dhcpra_impl.getInterfaceByName(0/5). Return.\n");
}
