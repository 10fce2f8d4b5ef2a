"""DHCPv4 relayed end to end: real clients and a real server around the daemon, in both modes."""
import unittest

from support import *  # noqa: F403  (the vocabulary of the system tests)


class Exchanges:
    """What holds in both modes."""

    def exchange(self, kind, number):
        subscriber = self.board.subscribers[number - 1]
        server, wire = self.server_wire(self.server_vlan), self.subscriber_wire(number)
        before = self.counters()
        client = self.client(kind, number)
        client.start()
        address = client.lease()
        self.assertRegex(address, r"^10\.100\.0\.")
        mac = client.host.read("/sys/class/net/eth0/address").strip()
        circuit = f"KORVANEL:sh1 eth 3/{subscriber.interface_name}:{SUBSCRIBER_VLAN}".encode()
        for message in (dhcp.DISCOVER, dhcp.REQUEST):
            asked = server.wait(lambda way, seen: seen.chaddr == mac and seen.kind == message)
            self.assertEqual(circuit, asked.sub_option(1))
            self.assertEqual(f"customer-{number}".encode(), asked.sub_option(2))
            self.assertEqual((self.giaddr, self.hops), (asked.giaddr, asked.hops))
            self.assertTrue(asked.udp_ok, "the checksum that leaves is right")
            self.assertEqual([82], [code for code, _ in asked.options][-1:], "option 82 stands last, before End")
        answers = [seen for way, seen in wire.frames() if way == "in" and seen.op == 2]
        self.assertEqual([dhcp.OFFER, dhcp.ACK], [seen.kind for seen in answers][:2])
        for answer in answers:
            self.assertIsNone(answer.option(82))
            self.assertTrue(answer.udp_ok, "an edited frame carries a right checksum")
            self.assertEqual(68, answer.dport)
            self.assertEqual([], answer.tags, "the subscriber's port is untagged")
        self.assertCounts(before, discover=1, request=1, offer=1, ack=1)

    def test_udhcpc_on_a_gem_port(self):
        self.exchange(Udhcpc, 1)

    def test_dhclient_on_a_line(self):
        self.exchange(Dhclient, 2)

    def test_frames_pass_untouched_while_the_relay_is_disabled(self):
        self.with_setting(["set_enabled 0"], ["set_enabled 1"])
        wire, server = self.subscriber_wire(1), self.server_wire(SUBSCRIBER_VLAN)
        frame = dhcp.Message(chaddr="02:00:00:00:0d:15", xid=0xD15AB1ED).encode()
        wire.send(frame)
        seen = server.wait(by_xid(0xD15AB1ED, dhcp.DISCOVER, "in"))
        self.assertEqual(frame, seen.raw, "not a byte differs")
        wire.wait(by_xid(0xD15AB1ED, dhcp.OFFER, "in"), what="the server's offer")

    def test_unicast_renewal_passes_untouched_with_the_extension_off(self):
        """A client's unicast renewal (RFC 2131, 4.3.6)."""
        server, before = self.server_wire(SUBSCRIBER_VLAN), self.counters(self.board.uplink)
        client = self.client(Udhcpc, 1)
        client.start()
        address, mac = client.lease(), client.host.read("/sys/class/net/eth0/address").strip()
        client.stop()
        wire, xid = self.subscriber_wire(1), 0x4E4E0001
        server_mac = self.board.net.read(f"/sys/class/net/v{SUBSCRIBER_VLAN}/address").strip()
        wire.send(dhcp.Message(kind=dhcp.REQUEST, chaddr=mac, xid=xid, dst_mac=server_mac, src_ip=address,
                               dst_ip=SUBSCRIBER_SERVER_IP, ciaddr=address).encode())
        asked = server.wait(by_xid(xid, dhcp.REQUEST, "in"))
        self.assertIsNone(asked.option(82))
        self.assertEqual(("0.0.0.0", 0), (asked.giaddr, asked.hops))
        server.wait(by_xid(xid, dhcp.ACK, "out"), what="the server's answer")
        self.check_direct_answer(wire, xid, before)


class FullMode(Exchanges, BoardTest):
    options = {"mode": "full"}
    server_vlan, giaddr, hops = NODE_VLAN, NODE_IP, 1

    def check_direct_answer(self, wire, xid, before):
        # A layer 3 relay takes replies on port 67 only, so a direct one is discarded; the client rebinds through us.
        self.assertNothing(wire, lambda seen: seen.xid == xid and seen.op == 2)
        self.assertCounts(before, self.board.uplink, offer=1, ack=2, discard_invalid=1)


class SimplifiedMode(Exchanges, BoardTest):
    options = {"mode": "simplified", "kind": "line"}
    server_vlan, giaddr, hops = SUBSCRIBER_VLAN, "0.0.0.0", 0

    def check_direct_answer(self, wire, xid, before):
        wire.wait(by_xid(xid, dhcp.ACK, "in"), what="the renewal's ACK")
        self.assertCounts(before, self.board.uplink, offer=1, ack=2)


if __name__ == "__main__":
    unittest.main()
