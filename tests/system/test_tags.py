"""Tags: priority tags, double tags, both tag protocols, several interfaces on one device, every VLAN on one port."""
import unittest

from peers import *  # noqa: F403

S_TAG = 0x88A8
CUSTOMER, SERVICE, TUNNEL, TREE, WIDE = 5001, 5002, 5003, (5011, 5012), 5020
TUNNEL_VLAN = 220


def port(device, interface, attributes):
    return f'<port device="{device}" interface="{interface}" {attributes}/>'


def line(number, name, device):
    return f'<interface id="{number}" name="{name}" linux="{device}" type="subscriber" port="{number}"/>'


class Tags(PeerTest):
    options = {
        "server": "none", "subscribers": 1, "trunk_vlans": "200-239",
        "cables": [(name, name, "eth0") for name in ("ctag", "stag", "tunnel", "pon")],
        "interfaces": [line(CUSTOMER, "0/41", "ctag"), line(SERVICE, "0/42", "stag"), line(TUNNEL, "0/43", "tunnel"),
                       '<interface id="5010" name="0/9" type="pon" port="9">'
                       f'<interface id="{TREE[0]}" name="0/9/1" linux="gem9.1" type="gem" onu="1" gem="1"/>'
                       f'<interface id="{TREE[1]}" name="0/9/2" linux="gem9.2" type="gem" onu="1" gem="2"/></interface>'],
        "ports": [port("ctag", CUSTOMER, f'untagged="{SUBSCRIBER_VLAN}" tagged="200-201"'),
                  port("stag", SERVICE, 'tpid="0x88A8" tagged="210-211"'),
                  port("tunnel", TUNNEL, f'tpid="0x88A8" untagged="{TUNNEL_VLAN}"'),
                  f'<port device="pon" tpid="0x88A8"><carries interface="{TREE[0]}" tagged="230"/>'
                  f'<carries interface="{TREE[1]}" tagged="231-232"/></port>']}

    def exchange(self, device, sent_tags, *, vlan, name, up_tags, down_tags=None, cvlan=None):
        """A request from a device and its reply, in both modes. up_tags: as Simplified mode sends them on."""
        wire = self.wire(self.board.lab.host(device))
        for mode in BOTH_MODES:
            with self.subTest(mode=mode, device=device, tags=sent_tags):
                self.in_mode(mode)
                asked = self.ask(wire, self.question(tags=sent_tags))
                suffix = b":%d" % cvlan if cvlan else b""
                self.assertEqual(circuit_of(name, vlan) + suffix, asked.sub_option(1))
                self.assertEqual([tag(NODE_VLAN)] if mode == "full" else up_tags, asked.tags)
                self.assertTrue(asked.udp_ok)
                seen = self.answer(asked, wire)
                self.assertGoodReply(seen, dst_mac=asked.chaddr,
                                     tags=self.reply_tags(mode, sent_tags if down_tags is None else down_tags))
                self.assertIsNone(seen.option(82))
                self.assertEqual(b"\xff", seen.raw[-1:], "the frame ends where its message ends")

    @staticmethod
    def reply_tags(mode, tags):
        # In Full mode the outer tag keeps the priority of the server's frame, and the inner one has none.
        return [(protocol, control & 0xFFF) for protocol, control in tags] if mode == "full" else tags

    def test_tags_of_both_protocols(self):
        for device, name, vlan, sent, up, *down in (
                # A priority tag stands for the port's own VLAN.
                ("ctag", "0/41", SUBSCRIBER_VLAN, [tag(0, priority=5)], [tag(SUBSCRIBER_VLAN, priority=5)], []),
                ("ctag", "0/41", 200, [tag(200, priority=7)], [tag(200, priority=7)]),
                ("ctag", "0/41", 200, [tag(200), tag(7)], [tag(200), tag(7)]),
                # The trunk's tag protocol is 0x8100; the service port's comes back on the way down.
                ("stag", "0/42", 210, [tag(210, tpid=S_TAG), tag(33)], [tag(210), tag(33)]),
                ("stag", "0/42", 211, [tag(211, tpid=S_TAG)], [tag(211)]),
                # A service access port tunnels customer tags.
                ("tunnel", "0/43", TUNNEL_VLAN, [tag(44)], [tag(TUNNEL_VLAN), tag(44)]),
                ("tunnel", "0/43", TUNNEL_VLAN, [], [tag(TUNNEL_VLAN)])):
            self.exchange(device, sent, vlan=vlan, name=name, up_tags=up, down_tags=(down or [None])[0])

    def test_the_inner_vlan_stands_in_the_circuit_id_when_asked_for(self):
        self.with_setting(["set_circuit_id_cvlan 1"], ["set_circuit_id_cvlan 0"])
        self.exchange("stag", [tag(210, tpid=S_TAG), tag(33)], vlan=210, cvlan=33, name="0/42",
                      up_tags=[tag(210), tag(33)])

    def test_gem_ports_of_one_device_are_told_apart_by_vlan(self):
        for vlan, name in ((230, "0/9/1"), (231, "0/9/2"), (232, "0/9/2")):
            self.exchange("pon", [tag(vlan, tpid=S_TAG)], vlan=vlan, name=name, up_tags=[tag(vlan)])
            self.assertLess(0, self.counters(TREE[0] if vlan == 230 else TREE[1])[DISCOVER])

    def test_two_clients_of_one_tree_with_one_mac(self):
        wire, mac = self.wire(self.board.lab.host("pon")), fresh_mac()
        asked = [self.ask(wire, self.question(chaddr=mac, tags=[tag(vlan, tpid=S_TAG)])) for vlan in (230, 232)]
        for vlan, request in zip((230, 232), asked):
            self.assertGoodReply(self.answer(request, wire), tags=[tag(vlan, tpid=S_TAG)])
        self.assertEqual([(230, TREE[0]), (232, TREE[1])], [entry[:2] for entry in self.history(mac)])


class EveryVlan(PeerTest):
    """4,094 VLANs on one subscriber port."""
    VLANS = [vlan for vlan in range(1, 4095) if vlan not in (SUBSCRIBER_VLAN, NODE_VLAN)]
    options = {
        "server": "none", "subscribers": 0, "mode": "simplified", "cables": [("wide", "wide", "eth0")],
        "trunk_vlans": f"1-{NODE_VLAN - 1} {NODE_VLAN + 1}-{SUBSCRIBER_VLAN - 1} {SUBSCRIBER_VLAN + 1}-4094",
        "interfaces": [line(WIDE, "0/50", "wide")], "ports": [port("wide", WIDE, 'tagged="1-4094"')]}

    def test_each_has_its_circuit_id_its_replies_and_its_counters(self):
        wire = self.wire(self.board.lab.host("wide"))
        messages = {vlan: self.question(tags=[tag(vlan)]) for vlan in range(1, 4095)}
        for vlan, message in messages.items():
            wire.send(message.encode())
            if vlan % 64 == 0:  # no faster than this test can read
                self.asked(message.xid)
        self.asked(messages[4094].xid)
        by_number = {message.xid: vlan for vlan, message in messages.items()}
        asked = {by_number[seen.xid]: seen for way, seen in self.trunk.frames() if way == "in" and seen.xid in by_number}
        self.assertEqual(list(range(1, 4095)), sorted(asked))
        for vlan, seen in asked.items():
            self.assertEqual(([tag(vlan)], circuit_of("0/50", vlan)), (seen.tags, seen.sub_option(1)))

        for vlan, seen in asked.items():
            self.trunk.send(self.reply(seen).encode())
            if vlan % 64 == 0:
                wire.wait(by_xid(seen.xid, dhcp.OFFER, "in"), what="the offer")
        wire.wait(by_xid(asked[4094].xid, dhcp.OFFER, "in"), what="the last offer")
        offers = {by_number[seen.xid]: seen for way, seen in wire.frames() if way == "in" and seen.kind == dhcp.OFFER}
        self.assertEqual(list(range(1, 4095)), sorted(offers))
        self.assertEqual([], [vlan for vlan, seen in offers.items() if seen.tags != [tag(vlan)] or seen.option(82)])

        counted = self.board.call("intf_get_counters_per_vlan", WIDE)
        self.assertEqual(4094, len(next(value for value in counted.values() if isinstance(value, list))))
        self.assertEqual(4094, self.counters(WIDE)[DISCOVER])


if __name__ == "__main__":
    unittest.main()
