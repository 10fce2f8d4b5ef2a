"""DHCPv6 relayed end to end: real clients, a real server and router advertisements around the daemon."""
import unittest

from support import *  # noqa: F403  (the vocabulary of the system tests)
from labkit import dhcp6, ipv6
from labkit.dhcp6 import Frame, message, option, relay_message
from labkit.ipv6 import Capture6, Dhclient6, Dhcp6c

ENTERPRISE = (7731).to_bytes(4, "big")


class Relay6(BoardTest):
    options = {"mode": "simplified", "trunk_vlans": "1"}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        ipv6.start(cls.board, SUBSCRIBER_VLAN, renew=6, rebind=500)
        line = cls.board.subscribers[1].interface
        cls.board.apply([*ipv6.configuration(cls.board, cls.board.uplink, SUBSCRIBER_VLAN),
                         f"dra6_interfaceid_mode_intf_vlan_set {line} {SUBSCRIBER_VLAN} 2",
                         f"dra6_interfaceid_format_intf_vlan_set {line} {SUBSCRIBER_VLAN} line-2-$VLAN"])

    def wire6(self, host, device):
        capture = Capture6(host, device)
        self.addCleanup(capture.close)
        return capture

    def ends(self, number=1):
        """The wires of a subscriber and of the server."""
        return self.wire6(self.board.lab.host(f"sub{number}"), "eth0"), self.wire6(self.board.net, f"v{SUBSCRIBER_VLAN}")

    def exchange(self, kind, number, interface_id):
        wire, server = self.ends(number)
        client = kind(self.board.lab.host(f"sub{number}"))
        self.addCleanup(client.stop)
        link_local = ipv6.link_local(client.host, "eth0")
        client.start()
        self.assertTrue(client.lease().startswith(ipv6.ADDRESSES))
        self.assertTrue(client.prefix().startswith(ipv6.PREFIXES))
        mine = lambda kind: lambda way, seen: way == "in" and seen.is_relay and seen.peer == link_local and seen.inner.kind == kind
        for asked in (dhcp6.SOLICIT, dhcp6.REQUEST):
            seen = server.wait(mine(asked), what="a relay-forward")
            self.assertEqual((dhcp6.RELAY_FORWARD, 0, "::"), (seen.kind, seen.hops, seen.link))
            self.assertEqual([dhcp6.RELAY_MESSAGE, dhcp6.INTERFACE_ID, dhcp6.REMOTE_ID], [code for code, _ in seen.options])
            self.assertEqual(interface_id, seen.option(dhcp6.INTERFACE_ID))
            self.assertEqual(ENTERPRISE + ipv6.remote_id(self.board.subscribers[number - 1]), seen.option(dhcp6.REMOTE_ID))
            self.assertEqual((link_local, dhcp6.ALL_SERVERS, 546, 547), (seen.src_ip, seen.dst_ip, seen.sport, seen.dport))
            self.assertTrue(seen.udp_ok)
            sent = wire.wait(lambda way, own: way == "out" and own.xid == seen.xid)
            self.assertEqual(sent.payload, seen.option(dhcp6.RELAY_MESSAGE), "the client's message, unchanged")
        answers = [seen for way, seen in wire.frames() if way == "in" and seen.dst_ip == link_local]
        self.assertEqual([dhcp6.ADVERTISE, dhcp6.REPLY], [seen.kind for seen in answers][:2])
        for answer in answers:
            self.assertEqual((546, True, []), (answer.dport, answer.udp_ok, answer.tags))
        return client, wire, server

    def test_dhclient_on_a_gem_port_gets_address_and_prefix_and_renews(self):
        client, _, server = self.exchange(Dhclient6, 1, b"sh1 n/a 99/3/1/1:100")
        server.wait(lambda way, seen: seen.kind == dhcp6.RELAY_FORWARD and seen.inner.kind == dhcp6.RENEW, 15, "the renewal")
        wait_until(lambda: any(line.startswith("RENEW6") for line in client.events()), 5, "the client to have renewed")

    def test_dhcp6c_on_a_line_gets_address_and_prefix_and_releases(self):
        client, _, server = self.exchange(Dhcp6c, 2, b"line-2-100")
        client.release()
        server.wait(lambda way, seen: seen.kind == dhcp6.RELAY_FORWARD and seen.inner.kind == dhcp6.RELEASE, 5, "the release")

    def send(self, wire, kind, xid, *extra, mac="02:00:00:00:06:01", **headers):
        payload = message(kind, xid, dhcp6.client_id(mac), *extra)
        wire.send(Frame(payload, src_mac=mac, **headers).encode())
        return payload

    def test_only_a_trusted_line_may_bring_relay_forwards(self):
        wire, server = self.ends()
        line = self.board.subscribers[0].interface
        inner = message(dhcp6.SOLICIT, 0x61A, dhcp6.client_id("02:00:00:00:06:02"))
        payload = relay_message(dhcp6.RELAY_FORWARD, 3, "2001:db8:7::1", "fe80::77", option(dhcp6.RELAY_MESSAGE, inner))
        before = self.board.call("dra6_intf_get_all_counters", line)["counters"]
        wire.send(Frame(payload, sport=547).encode())
        self.assertNothing(server, lambda seen: seen.xid == 0x61A)
        now = self.board.call("dra6_intf_get_all_counters", line)["counters"]
        self.assertEqual([0] * 11 + [1, 0, 1, 0, 0, 0], [now[index] - before[index] for index in range(17)])
        self.with_setting([f"dra6_intf_set_circuit_trusted {line} 2"], [f"dra6_intf_set_circuit_trusted {line} 1"])
        wire.send(Frame(payload, sport=547).encode())
        seen = server.wait(lambda way, seen: way == "in" and seen.xid == 0x61A)
        self.assertEqual(payload[:1] + b"\4" + payload[2:], seen.payload, "one hop more, not wrapped again")
        self.assertTrue(seen.udp_ok)

    def test_a_disabled_relay_passes_everything_unchanged(self):
        wire, server = self.ends()
        self.with_setting(["dra6_set_enabled 0"], [*ipv6.configuration(self.board, self.board.uplink, SUBSCRIBER_VLAN)])
        payload = self.send(wire, dhcp6.SOLICIT, 0x6C2)
        seen = server.wait(lambda way, seen: way == "in" and seen.xid == 0x6C2)
        self.assertEqual(payload, seen.payload)

    def test_router_advertisements_and_neighbour_discovery_pass_and_are_counted(self):
        before = self.board.call("dra6_ndp_get_summed_counters")["counters"]
        ipv6.start_radvd(self.board.net, f"v{SUBSCRIBER_VLAN}")
        self.addCleanup(self.board.net.signal, "radvd")
        host = self.board.lab.host("sub1")
        wait_until(lambda: "proto ra" in host.run("ip", "-6", "route").stdout, 15, "a default route by advertisement")
        far = ipv6.link_local(self.board.net, f"v{SUBSCRIBER_VLAN}")
        host.run("ping", "-6", "-c", "2", "-W", "2", f"{far}%eth0")
        after = self.board.call("dra6_ndp_get_summed_counters")["counters"]
        self.assertGreaterEqual(after[0] - before[0], 4)
        self.assertEqual(before[1], after[1], "nothing was dropped")


if __name__ == "__main__":
    unittest.main()
