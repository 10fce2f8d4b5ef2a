#include "Exchanges.h"

namespace test {

namespace {

using Story = std::vector<Exchange>;

constexpr std::int64_t unset = 0, no = 1, yes = 2; // three states
constexpr std::int64_t refusedByConfig = -1, refusedByEntity = 1;
constexpr std::int64_t unknown = 99; // an interface that does not exist

const Xdr nothing;
const Xdr good{0};

Xdr text(std::string_view value) { return Xdr().text(value); }
Xdr value(std::int64_t v) { return Xdr{0, v}; }
Xdr failed(std::int64_t code, std::size_t zeroWords) { return Xdr{code}.zeros(zeroWords); }
Xdr idText(std::string_view v) { return Xdr{0}.suboption(v); }
Xdr formatText(std::string_view v) { return Xdr{0}.format(v); }
/// Counters: the first ones as given, the rest zero.
Xdr counters(std::initializer_list<std::int64_t> first, std::size_t count)
{
    return Xdr(first).zeros(count - first.size());
}

} // namespace

Story globalExchanges()
{
    const std::string longest(128, 'f');
    return {
        // What the factory settings say.
        {1, nothing, value(0)},
        {2, nothing, value(0)},
        {3, nothing, value(1)},
        {4, nothing, value(0)},
        {5, nothing, value(0)},
        {6, nothing, value(0)},
        {7, nothing, value(1)},
        {8, nothing, value(0)},
        {10, nothing, idText("")},
        {11, nothing, value(0)},
        {12, nothing, value(0)},
        {27, nothing, formatText("")},
        {29, nothing, formatText("$PORT_REM_ID")},
        // Each one turned round.
        {15, {1}, good},
        {1, nothing, value(1)},
        {16, {1}, good},
        {2, nothing, value(1)},
        {17, {0}, good},
        {3, nothing, value(0)},
        {18, {1}, good},
        {4, nothing, value(1)},
        {19, {1}, good},
        {5, nothing, value(1)},
        {20, {1}, good},
        {6, nothing, value(1)},
        {21, {0}, good},
        {7, nothing, value(0)},
        {22, {1}, good},
        {8, nothing, value(1)},
        {25, {1}, good},
        {12, nothing, value(1)},
        // Any number that is not zero switches on.
        {16, {0}, good},
        {16, {-5}, good},
        {2, nothing, value(1)},
        {23, text("node1"), good},
        {10, nothing, idText("node1")},
        {23, text(""), good},
        {10, nothing, idText("")},
        {23, text(std::string(511, 'n')), good},
        {10, nothing, idText(std::string(511, 'n'))},
        {23, text(std::string(512, 'n')), good}, // stored, but not told: it does not fit
        {10, nothing, idText("")},
        {24, {7}, good},
        {11, nothing, value(0)}, // never tells the chassis id
        {26, text("$SHELF/$VLAN"), good},
        {27, nothing, formatText("$SHELF/$VLAN")},
        {26, text(longest), good},
        {27, nothing, formatText(longest)},
        {26, text(longest + "g"), {refusedByConfig}},
        {27, nothing, formatText(longest)},
        {28, text("$SYSNAME"), good},
        {29, nothing, formatText("$SYSNAME")},
        {28, text(longest + "g"), {refusedByConfig}},
    };
}

Story counterExchanges()
{
    const Xdr ofVlan100V4 = Xdr{0, 1, 100}.add(counters({2}, 19));
    const Xdr ofVlan100V6 = Xdr{0, 1, 100}.add(counters({3}, 17));
    const Xdr ofVlan100Ndp{0, 1, 100, 4, 0};
    return {
        {9, nothing, Xdr{0}.add(counters({2}, 19))},
        {13, nothing, ofVlan100V4},
        {40, {7}, Xdr{0}.add(counters({2}, 19))},
        {40, {1}, Xdr{0}.zeros(19)},
        {40, {unknown}, failed(refusedByEntity, 19)},
        {41, {7}, ofVlan100V4},
        {41, {1}, {0, 0}},
        {41, {unknown}, {refusedByEntity, 0}},
        {203, nothing, Xdr{0}.add(counters({3}, 17))},
        {207, nothing, {0, 4, 0}},
        {231, nothing, ofVlan100V6},
        {232, nothing, ofVlan100Ndp},
        {248, {7}, Xdr{0}.add(counters({3}, 17))},
        {248, {unknown}, failed(refusedByEntity, 17)},
        {249, {7}, {0, 4, 0}},
        {249, {unknown}, failed(refusedByEntity, 2)},
        {275, {7}, ofVlan100V6},
        {275, {unknown}, {refusedByEntity, 0}},
        {276, {7}, ofVlan100Ndp},
        {276, {unknown}, {refusedByEntity, 0}},
        {43, {unknown}, {refusedByEntity}},
        {43, {7}, good}, // the DHCPv4 engine's interface only
        {40, {7}, Xdr{0}.zeros(19)},
        {13, nothing, {0, 0}},
        {248, {7}, Xdr{0}.add(counters({3}, 17))},
    };
}

Story interfaceExchanges()
{
    return {
        {30, {7}, value(1)}, // lines start as CLIENTS, uplinks as ENABLE
        {30, {1}, value(3)},
        {30, {unknown}, {refusedByConfig, 0}},
        {31, {7}, value(unset)},
        {32, {7}, value(unset)},
        {33, {7}, value(unset)},
        {34, {7}, value(unset)},
        {35, {7}, value(0)},
        {36, {7}, value(0)},
        {38, {7}, idText("")},
        {39, {7}, {0, 0}},
        {42, {7}, value(0)},
        {31, {unknown}, {refusedByConfig, 0}},
        {35, {unknown}, {refusedByConfig, 0}},
        {36, {unknown}, {refusedByConfig, 0}},
        {38, {unknown}, failed(refusedByConfig, 512)},
        {39, {unknown}, {refusedByConfig, 0}},
        {42, {unknown}, {refusedByConfig, 0}},
        {50, {7, 2}, good},
        {30, {7}, value(2)},
        {50, {7, 4}, good}, // a mode that does not exist is refused without a word to the peer
        {30, {7}, value(2)},
        {50, {unknown, 2}, {refusedByConfig}},
        {51, {7, yes}, good},
        {31, {7}, value(yes)},
        {52, {7, no}, good},
        {32, {7}, value(no)},
        {53, {7, yes}, good},
        {33, {7}, value(yes)},
        {54, {7, no}, good},
        {34, {7}, value(no)},
        {54, {7, -7}, good}, // stored as it comes
        {34, {7}, value(-7)},
        {54, {7, unset}, good},
        {55, {7, 1}, good},
        {35, {7}, value(1)},
        {56, {7, -100}, good},
        {36, {7}, value(-100)},
        {57, Xdr{7}.text("customer-5"), good},
        {38, {7}, idText("customer-5")},
        {57, Xdr{7}.text(std::string(64, 'r')), {refusedByConfig}},
        {57, Xdr{unknown}.text("r"), {refusedByConfig}},
        {58, Xdr{7}.text("vlan-two-hundred").u32(200), good},
        {58, Xdr{7}.text("vlan-hundred").u32(100), good},
        {58, Xdr{7}.text("none").u32(4095), {refusedByConfig}},
        {39, {7}, Xdr{0, 2, 100}.suboption("vlan-hundred").u32(200).suboption("vlan-two-hundred")},
        {58, Xdr{7}.text("").u32(200), good},
        {39, {7}, Xdr{0, 1, 100}.suboption("vlan-hundred")},
        // Circuit id mode: ATM is for PVCs; what an operator (value 1) set there stays.
        {59, {7, 1, 0}, good},
        {42, {7}, value(1)},
        {59, {7, 2, 0}, {refusedByEntity}},
        {59, {unknown, 1, 0}, {refusedByEntity}},
        {59, {9, 2, 1}, good},
        {59, {9, 1, 0}, good},
        {42, {9}, value(2)},
        {59, {9, 1, 1}, good},
        {42, {9}, value(1)},
        {59, {7, 0, 0}, good},
        {60, {9, 7, 8, 35}, good},
        {60, {unknown, 7, 8, 35}, {refusedByConfig}},
    };
}

Story intfVlanExchanges()
{
    const Xdr filled = Xdr{7, 100, 1}.format("C-$VLAN").format("R-$VLAN");
    return {
        {101, text("sh1"), good},
        {37, {7}, idText("KORVANEL:sh1 eth 3/0/2/5:<vid>")},
        {37, {unknown}, failed(refusedByEntity, 512)},
        {46, {7, 100}, idText("KORVANEL:sh1 eth 3/0/2/5:100")},
        {46, {unknown, 100}, failed(refusedByEntity, 512)},
        {57, Xdr{7}.text("customer-5"), good},
        {47, {7, 100}, idText("customer-5")},
        {47, {unknown, 100}, failed(refusedByEntity, 512)},
        {25, {1}, good},
        {37, {7}, idText("KORVANEL:sh1 eth 3/0/2/5:<vid>:<cvid>")},
        {25, {0}, good},
        {44, {7}, {0, 0}},
        {44, {unknown}, {refusedByConfig, 0}},
        {45, {7, 100}, failed(refusedByConfig, 3 + 129 + 129)},
        {64, {7, 100}, good},
        {64, {7, 4095}, {refusedByConfig}},
        {64, {unknown, 100}, {refusedByConfig}},
        // A record without a mode cannot be told: code 1, and the list ends there.
        {44, {7}, Xdr{1, 1, 7, 100, 0}.format("").format("")},
        {45, {7, 100}, failed(1, 3 + 129 + 129)},
        {61, {7, 100, 1}, good},
        {61, {7, 100, 2}, {refusedByConfig}}, // ATM on a line
        {61, {unknown, 100, 1}, {refusedByConfig}},
        {62, Xdr{7, 100}.text("C-$VLAN"), good},
        {62, Xdr{7, 100}.text(std::string(129, 'f')), {refusedByConfig}},
        {62, Xdr{unknown, 100}.text("C"), {refusedByConfig}},
        {63, Xdr{7, 100}.text("R-$VLAN"), good},
        {63, Xdr{7, 100}.text(std::string(129, 'f')), {refusedByConfig}},
        {44, {7}, Xdr{0, 1}.add(filled)},
        {45, {7, 100}, Xdr{0}.add(filled)},
        {47, {7, 100}, idText("R-100")},
        {61, {7, 200, 3}, good},
        {44, {7}, Xdr{0, 2}.add(filled).add(Xdr{7, 200, 3}.format("").format(""))},
        {150, {7, 200}, good},
        {150, {7, 300}, good}, // there was none
        {150, {unknown, 100}, {refusedByConfig}},
        {44, {7}, Xdr{0, 1}.add(filled)},
        {130, nothing, good},
        {44, {7}, {0, 0}},
    };
}

Story eventExchanges()
{
    return {
        {65, {1}, good},
        {66, {1}, good},
        {67, {1}, good},
        {68, {1}, good},
        {69, Xdr().text("dhcpraTestDump").text("").text(""), good},
        {69, Xdr().text("no such word").text("").text("/nonexistent"), good},
        {70, text("hello"), good},
        {71, {3}, good},
        {205, {3}, good},
        {151, Xdr().text("no such word").text("").text(""), good},
        {151, Xdr().text("lockingPeriod").text("soon").text(""), good}, // throws behind the peer's back
        {72, {7}, good},
        {73, nothing, value(7)},
        {204, nothing, value(7)}, // the level of both engines
        {223, {5}, good},
        {73, nothing, value(7)},
        {204, nothing, value(5)},
        {72, {-2}, good},
        {73, nothing, value(3)},
        {204, nothing, value(3)},
        {120, nothing, value(0)},
        {74, {1}, good},
        {120, nothing, value(1)},
        {74, {0}, good}, // factory settings leave it as it is
        {120, nothing, value(0)},
        {105, nothing, {4}},
    };
}

Story serverAndVlanExchanges()
{
    return {
        {75, nothing, value(0)},
        {76, {0x0A000001}, good},
        {75, nothing, value(0x0A000001)},
        {77, nothing, {0, 0}},
        {78, {0xC0000202, 200, 1}, good},
        {78, {0xC0000201, 300, 1}, good},
        {78, {0xC0000202, 100, -1}, good},
        {78, {0xC0000202, 200, 1}, good}, // is there
        {77, nothing, {0, 3, 0xC0000201, 300, 0xC0000202, 200, 0xC0000202, 100}},
        {78, {0xC0000202, 200, 0}, good},
        {78, {0xC0000202, 999, 0}, good}, // is not there
        {77, nothing, {0, 2, 0xC0000201, 300, 0xC0000202, 100}},
        {85, nothing, {0, 0}},
        {86, {100, yes}, good},
        {87, {100, no}, good},
        {88, {100, yes}, good},
        {89, {50, no}, good},
        {90, {100, no}, good},
        {91, {100, yes}, good},
        {86, {4095, yes}, {refusedByConfig}},
        {85, nothing, {0, 2, 50, 0, 0, 0, no, 0, 0, 100, yes, no, yes, 0, no, yes}},
        {89, {50, unset}, good}, // the last one takes the VLAN away
        {89, {51, unset}, good},
        {85, nothing, {0, 1, 100, yes, no, yes, 0, no, yes}},
    };
}

Story nodeExchanges()
{
    Xdr port{30};
    port.chars("0/3/1", 16).chars("if30", 16).add({1, 1, 0, 1, 1000, 1, 24000, 3000});
    port.chars("a new line", 128).add({77, 1, 0});
    port.chars("A", 10).add({5, 3, 1, 0});
    Xdr renamed{7};
    renamed.chars("0/2/sixteen-char", 16).chars("if7", 16).add({1, 0, 0, 0, 0, 0, 0, 0});
    renamed.chars("", 128).add({0, 0, 0});
    renamed.chars("tencharac.", 10).add({5, 3, 1, 0});
    return {
        {101, text("shelf"), good},
        {46, {7, 4095}, idText("KORVANEL:shelf eth 3/0/2/5:<vid>")},
        {102, Xdr().text(std::string("\x02\x00\x00\x00\x00\x11", 6)), good},
        {102, Xdr().text(std::string("\x02\x00\x00\x00\x00\x22zzzzzzzzzz", 16)), good},
        {102, Xdr().text(std::string("\x02\x00\x00\x00\x00", 5)), {refusedByEntity}},
        {102, Xdr().text(""), {refusedByEntity}},
        {28, text("$AGENT_MAC"), good},
        {47, {7, 100}, idText("02:00:00:00:00:22")},
        {103, {0x0A000001}, good},
        {28, text("$AGENT_IPV4"), good},
        {47, {7, 100}, idText("10.0.0.1")},
        {104, port, good},
        {104, renamed, good},
        {46, {7, 100}, idText("KORVANEL:shelf eth 3/0/2/sixteen-char:100")},
        {106, Xdr{7}.text("line five"), good},
        {106, Xdr{unknown}.text("x"), good},
        {107, text("contact"), good},
        {108, text("location"), good},
        {109, text("name"), good},
        {28, text("$SYSNAME"), good},
        {47, {7, 100}, idText("name")},
        {110, Xdr{21}.text("CPE1"), good},
        {110, Xdr{unknown}.text("CPE1"), good},
        {111, {21, 2, 0, 0, 0, 0, 0x77}, good},
        {111, {unknown, 2, 0, 0, 0, 0, 0x77}, good},
        {28, text("$CPE_SERIAL"), good},
        {47, {22, 100}, idText("CPE1")}, // a GEM port tells of the ONU above it
        {28, text("$CPE_MAC"), good},
        {47, {22, 100}, idText("02:00:00:00:00:77")},
        {100, nothing, good},
        {29, nothing, formatText("$PORT_REM_ID")},
    };
}

Story globalV6Exchanges()
{
    const std::string longest(128, 'f');
    return {
        {200, nothing, value(0)},
        {201, nothing, value(0)},
        {202, nothing, value(1)},
        {206, nothing, value(0)},
        {228, nothing, formatText("")},
        {230, nothing, formatText("$PORT_REM_ID")},
        {220, {1}, good},
        {200, nothing, value(1)},
        {221, {1}, good},
        {201, nothing, value(1)},
        {222, {0}, good},
        {202, nothing, value(0)},
        {224, {1}, good},
        {206, nothing, value(1)},
        {227, text(longest), good},
        {228, nothing, formatText(longest)},
        {227, text(longest + "g"), {refusedByConfig}},
        {229, text("$SYSNAME"), good},
        {230, nothing, formatText("$SYSNAME")},
        {229, text(longest + "g"), {refusedByConfig}},
    };
}

Story interfaceV6Exchanges()
{
    const Xdr filled = Xdr{7, 100, 2}.format("I-$VLAN").format("R-$VLAN");
    return {
        {101, text("sh1"), good},
        {240, {7}, value(1)},
        {240, {1}, value(3)},
        {240, {unknown}, {refusedByConfig, 0}},
        {241, {7}, value(no)},
        {241, {1}, value(yes)},
        {241, {unknown}, {refusedByConfig, 0}},
        {242, {7}, idText("")},
        {242, {unknown}, failed(refusedByConfig, 512)},
        {243, {7}, {0, 0}},
        {243, {unknown}, {refusedByConfig, 0}},
        {244, {7}, value(7731)},
        {244, {unknown}, {refusedByConfig, 0}},
        {245, {7}, {0, 0}},
        {246, {7}, value(yes)},
        {246, {unknown}, {refusedByConfig, 0}},
        {247, {7}, idText("")},
        {247, {unknown}, idText("")}, // asks nobody
        {260, {7, 2}, good},
        {240, {7}, value(2)},
        {30, {7}, value(1)}, // the other family's is its own
        {260, {unknown, 2}, {refusedByConfig}},
        {261, {7, yes}, good},
        {241, {7}, value(yes)},
        {262, Xdr{7}.text("customer-6"), good},
        {242, {7}, idText("customer-6")},
        {262, Xdr{7}.text(std::string(64, 'r')), {refusedByConfig}},
        {263, Xdr{7}.text("vlan-hundred").u32(100), good},
        {263, Xdr{7}.text("none").u32(4095), {refusedByConfig}},
        {243, {7}, Xdr{0, 1, 100}.suboption("vlan-hundred")},
        {265, {7, 4711}, good},
        {244, {7}, value(4711)},
        {266, {7, 12, 100}, good},
        {266, {unknown, 12, 100}, {refusedByConfig}},
        {245, {7}, {0, 1, 100, 12}},
        {273, {7, 100}, idText("sh1 eth 99/3/2/5:100")},
        {273, {7, 4095}, idText("sh1 eth 99/3/2/5:<vid>")},
        {273, {unknown, 100}, failed(refusedByEntity, 512)},
        {264, {7, no}, good},
        {246, {7}, value(no)},
        {273, {7, 100}, idText("KORVANEL:sh1 eth 3/0/2/5:100")},
        {274, {7, 100}, idText("customer-6")},
        {274, {unknown, 100}, failed(refusedByEntity, 512)},
        {270, {7, 100}, good}, // does nothing
        {271, {7}, {0, 0}},
        {271, {unknown}, {refusedByConfig, 0}},
        {272, {7, 100}, failed(refusedByConfig, 3 + 129 + 129)},
        {64, {7, 100}, good}, // this one adds in both families
        {271, {7}, Xdr{1, 1, 7, 100, 0}.format("").format("")},
        {272, {7, 100}, failed(1, 3 + 129 + 129)},
        {267, {7, 100, 2}, good},
        {267, {unknown, 100, 2}, {refusedByConfig}},
        {268, Xdr{7, 100}.text("I-$VLAN"), good},
        {268, Xdr{7, 100}.text(std::string(129, 'f')), {refusedByConfig}},
        {269, Xdr{7, 100}.text("R-$VLAN"), good},
        {269, Xdr{7, 100}.text(std::string(129, 'f')), {refusedByConfig}},
        {271, {7}, Xdr{0, 1}.add(filled)},
        {272, {7, 100}, Xdr{0}.add(filled)},
        {273, {7, 100}, idText("I-100")},
        {274, {7, 100}, idText("R-100")},
    };
}

Story vlanV6Exchanges()
{
    return {
        {280, nothing, {0, 0}},
        {290, {100, yes}, good},
        // A new record switches the remote id off and the interface id on.
        {280, nothing, {0, 1, 100, yes, no, yes}},
        {291, {100, no}, good},
        {292, {100, yes}, good},
        {280, nothing, {0, 1, 100, yes, yes, no}},
        {290, {4095, yes}, {refusedByConfig}},
        {85, nothing, {0, 0}}, // the other family's are its own
        {290, {100, unset}, good},
        {291, {100, unset}, good},
        {280, nothing, {0, 1, 100, unset, yes, unset}},
        {292, {100, unset}, good},
        {280, nothing, {0, 0}},
    };
}

} // namespace test
