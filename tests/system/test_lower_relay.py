"""Relays below this node, trusted and not, and the ways in which a reply finds its client."""
import unittest

from peers import *  # noqa: F403

RELAY_IP = "10.9.9.9"                                   # of a relay below this node
FOREIGN = b"\x01\x05below\x02\x02xy"                    # its option 82
LOWER = 3007                                            # a port that is no subscriber's: a switch with relays behind it
BROADCAST, UNICAST = "broadcast", "unicast"

# Mode, trust, destination and what the request brings; then what the servers see, (giaddr, option 82), or the counter
# of a discard. In Simplified mode a trusted unicast frame without option 82 of our own is turned into a broadcast.
CASES = [
    ("full", 1, BROADCAST, "giaddr", "discard_giaddr"), ("full", 1, UNICAST, "option 82", "discard_opt82"),
    ("full", 2, BROADCAST, "option 82", ("node", "theirs")), ("full", 2, UNICAST, "neither", ("none", "ours")),
    ("full", 2, UNICAST, "option 82", ("node", "ours")), ("full", 2, UNICAST, "both", ("theirs", "ours")),
    ("simplified", 1, BROADCAST, "both", "discard_both"), ("simplified", 1, UNICAST, "both", ("theirs", "ours")),
    ("simplified", 2, BROADCAST, "option 82", ("none", "theirs")), ("simplified", 2, UNICAST, "giaddr", ("theirs", "ours")),
    ("simplified", 2, UNICAST, "option 82", ("none", "theirs"))]
GIADDRS = {"none": "0.0.0.0", "theirs": RELAY_IP, "node": NODE_IP}


class LowerRelay(PeerTest):
    options = {
        "server": "none", "subscribers": 1, "cables": [("low", "low", "eth0")],
        "interfaces": [f'<interface id="{LOWER}" name="0/7" linux="low" type="eth" port="7"/>'],
        "ports": [f'<port device="low" interface="{LOWER}" untagged="{SUBSCRIBER_VLAN}"/>'],
        "config": [f"intf_set_mode {LOWER} 1"]}

    def setUp(self):
        super().setUp()
        self.interface = self.board.subscribers[0].interface
        self.below = self.subscriber_wire(1)

    def relayed_request(self, destination, column):
        fields = {"giaddr": RELAY_IP, "hops": 1} if column in ("giaddr", "both") else {}
        if column in ("option 82", "both"):
            fields["options"] = [(82, FOREIGN)]
        if destination == UNICAST:
            fields.update(dst_mac=SERVER_MAC, dst_ip=SUBSCRIBER_SERVER_IP, src_ip=CLIENT_IP)
        return self.question(dhcp.REQUEST, **fields)

    def check(self, message, expected, hops):
        before = self.counters(self.interface)
        if isinstance(expected, str):
            self.below.send(message.encode())
            self.assertCounts(before, self.interface, request=1, **{expected: 1})
            self.assertFalse([seen for _, seen in self.trunk.frames() if seen.xid == message.xid])
            return None
        giaddr, information = expected
        asked = self.ask(self.below, message)
        self.assertEqual((GIADDRS[giaddr], message.hops + hops), (asked.giaddr, asked.hops))
        ours = b"\x01" + bytes([len(circuit_of("0/1/1"))]) + circuit_of("0/1/1") + b"\x02\x0acustomer-1"
        self.assertEqual([ours if information == "ours" else FOREIGN],
                         [value for code, value in asked.options if code == 82], "one option 82")
        self.assertTrue(asked.udp_ok)
        self.assertCounts(before, self.interface, request=1)
        return asked

    def test_who_may_bring_giaddr_and_option_82(self):
        for mode, trust, destination, brings, expected in CASES:
            self.in_mode(mode)
            # The extension matters to unicast requests only.
            self.board.apply([f"intf_set_circuit_trusted {self.interface} {trust}",
                              f"intf_set_unicast_extension {self.interface} {2 if destination == UNICAST else 1}"])
            with self.subTest(mode=mode, trust=trust, destination=destination, brings=brings):
                asked = self.check(self.relayed_request(destination, brings), expected, int(mode == "full"))
                if asked and mode == "simplified":
                    flooded = destination == BROADCAST or expected[1] == "theirs"
                    self.assertEqual(dhcp.BROADCAST_MAC if flooded else SERVER_MAC, asked.dst_mac)

    def test_a_switch_port_is_asked_about_trust_even_for_unicast_requests(self):
        self.with_setting([f"intf_set_circuit_trusted {LOWER} 2"], [f"intf_set_circuit_trusted {LOWER} 0"])
        wire = self.wire(self.board.lab.host("low"))
        message = self.relayed_request(UNICAST, "both")
        asked = self.ask(wire, message)
        self.assertEqual((RELAY_IP, FOREIGN, [tag(SUBSCRIBER_VLAN)]), (asked.giaddr, asked.option(82), asked.tags))
        # Servers have always got these frames with the hop counted and the old sum.
        self.assertEqual(message.hops + 1, asked.hops)
        self.assertFalse(asked.udp_ok)
        self.in_mode("simplified")
        message = self.relayed_request(UNICAST, "both")
        asked = self.ask(wire, message)
        self.assertEqual(message.encode(), asked.raw[:12] + asked.raw[16:])

    def test_a_server_talks_with_a_relay_below_past_this_one(self):
        relay_mac = fresh_mac()
        for mode, untouched in (("full", True), ("simplified", False)):
            self.in_mode(mode)
            self.ask(self.below, self.question(chaddr=relay_mac))  # its MAC is learnt
            reply = dhcp.Message(kind=dhcp.ACK, op=2, xid=fresh_xid(), src_mac=SERVER_MAC, dst_mac=relay_mac,
                                 src_ip=SUBSCRIBER_SERVER_IP, dst_ip=RELAY_IP, giaddr=RELAY_IP, sport=67, dport=67,
                                 tags=[tag(SUBSCRIBER_VLAN)], options=[(82, FOREIGN)])
            before = self.counters(self.board.uplink)
            self.trunk.send(reply.encode())
            if untouched:
                seen = self.below.wait(by_xid(reply.xid, dhcp.ACK, "in"), what="the reply to the relay")
                self.assertEqual(replace(reply, tags=[]).encode(), seen.raw)
                self.assertCounts(before, self.board.uplink, ack=1)
            else:
                # A layer 2 relay takes replies to clients only.
                self.assertCounts(before, self.board.uplink, ack=1, discard_invalid=1)


class RepliesFound(PeerTest):
    """By the transaction, by option 82, and not at all."""
    options = {"server": "none", "subscribers": 2, "kind": "line"}

    def setUp(self):
        super().setUp()
        self.first, self.second = self.subscriber_wire(1), self.subscriber_wire(2)

    def without_option_82(self, asked, **fields):
        server = bytes(map(int, RELAY_SERVER_IP.split(".")))
        return self.reply(asked, **{"options": [(54, server)], **fields})

    def send(self, reply):
        self.trunk.send(reply.encode())
        return reply

    def replies_seen(self):
        return sum(way == "in" and seen.op == 2 for wire in (self.first, self.second) for way, seen in wire.frames())

    def assertDiscarded(self, reply):
        before, seen_before = self.counters(self.board.uplink), self.replies_seen()
        self.send(reply)
        self.assertCounts(before, self.board.uplink, offer=1, discard_invalid=1)
        self.assertEqual(seen_before, self.replies_seen())

    def test_by_the_transaction_once(self):
        asked = self.ask(self.first, self.question())
        self.send(self.without_option_82(asked))
        seen = self.first.wait(by_xid(asked.xid, dhcp.OFFER, "in"), what="the offer")
        self.assertGoodReply(seen, dst_mac=asked.chaddr)
        self.assertDiscarded(self.without_option_82(asked, kind=dhcp.OFFER, yiaddr="10.100.0.99"))

    def test_by_option_82_when_the_transaction_is_unknown(self):
        for mode in BOTH_MODES:
            self.in_mode(mode)
            asked = self.ask(self.second, self.question())
            # In Full mode the reply comes in the node's VLAN, for which the port has another circuit id: only the VLAN
            # is taken from it, and the bridge knows the client's port. In Simplified mode the port is named.
            mac = {"full": asked.chaddr, "simplified": fresh_mac()}[mode]
            seen = self.answer(asked, self.second, xid=fresh_xid(), chaddr=mac)
            self.assertGoodReply(seen, dst_mac=mac)
            self.assertIsNone(seen.option(82))
            self.assertFalse([frame for _, frame in self.first.frames() if frame.xid == seen.xid])

    def test_a_forged_circuit_id_steers_nothing(self):
        asked = self.ask(self.first, self.question())
        self.answer(asked, self.first)
        own = asked.sub_option(1)
        # With a VLAN in it the frame goes where the bridge knows the client, never to the port that it claims.
        forged = own.replace(b"sh1", b"sh2").replace(b"0/11", b"0/12")
        seen = self.answer(asked, self.first, dhcp.ACK, options=[(82, b"\x01" + bytes([len(forged)]) + forged)])
        self.assertGoodReply(seen, dst_mac=asked.chaddr)
        self.assertFalse([frame for _, frame in self.second.frames() if frame.xid == asked.xid and frame.op == 2])


if __name__ == "__main__":
    unittest.main()
