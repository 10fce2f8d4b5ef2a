"""Everything that a client says in its life, beyond the four messages of getting an address."""
import unittest

from peers import *  # noqa: F403  (raw peers, and the vocabulary of the system tests)

NO_REPLY = (None, None, None)
# A client's message and its flags, the reply to it, and how that is addressed: MAC, if not the client's own, and IP.
MESSAGES = [
    ("discover", 0x8000, "offer", dhcp.BROADCAST_MAC, "255.255.255.255"), ("discover", 0, "offer", None, CLIENT_IP),
    ("request", 0x7FFF, "ack", None, CLIENT_IP), ("request", 0, "nak", None, CLIENT_IP),
    ("decline", 0, *NO_REPLY), ("release", 0, *NO_REPLY), ("inform", 0, "ack", None, CLIENT_IP)]


class Messages(PeerTest):
    options = {"server": "none", "subscribers": 2}

    def test_every_message_is_relayed_and_counted(self):
        interface = self.board.subscribers[0].interface
        for mode in BOTH_MODES:
            self.in_mode(mode)
            wire, other = self.subscriber_wire(1), self.subscriber_wire(2)
            for name, flags, reply, mac, address in MESSAGES:
                with self.subTest(mode=mode, message=name, flags=hex(flags), reply=reply):
                    before = self.counters(interface)
                    asked = self.ask(wire, self.question(getattr(dhcp, name.upper()), ciaddr=CLIENT_IP, flags=flags))
                    self.assertEqual((getattr(dhcp, name.upper()), CLIENT_IP, flags), (asked.kind, asked.ciaddr, asked.flags))
                    self.assertEqual(circuit_of("0/1/1"), asked.sub_option(1))
                    self.assertTrue(asked.udp_ok)
                    self.assertCounts(before, interface, **{name: 1})
                    if reply is None:
                        continue
                    before, kind = self.counters(self.board.uplink), getattr(dhcp, reply.upper())
                    seen = self.answer(asked, wire, kind)
                    self.assertGoodReply(seen, kind=kind, dst_mac=mac or asked.chaddr, dst_ip=address, flags=flags)
                    self.assertIsNone(seen.option(82))
                    self.assertCounts(before, self.board.uplink, **{reply: 1})
                    self.assertFalse([frame for way, frame in other.frames() if way == "in" and frame.xid == asked.xid
                                      and mac is None], "no other subscriber sees it")

    def test_all_servers_of_a_vlan_get_the_request_and_every_offer_reaches_the_client(self):
        servers = ["10.55.0.77", "10.55.0.78", "10.55.0.79"]
        for server in servers:
            self.board.net.run("ip", "addr", "add", f"{server}/24", "dev", f"v{NODE_VLAN}")
            self.addCleanup(self.board.net.run, "ip", "addr", "del", f"{server}/24", "dev", f"v{NODE_VLAN}")
        numbers = [ip_number(server) for server in servers]
        self.with_setting([f"set_server_vlan {number} {SUBSCRIBER_VLAN} 1" for number in reversed(numbers)],
                          [f"set_server_vlan {number} {SUBSCRIBER_VLAN} 0" for number in numbers])
        wire, message = self.subscriber_wire(1), self.question()
        self.ask(wire, message)
        wait_until(lambda: len(self.requests(message)) == 3, 3, "a request for each server")
        self.assertEqual(servers, [seen.dst_ip for seen in self.requests(message)], "in the order of their addresses")
        # The first reply takes the transaction's entry with it; the others find the client by option 82.
        for asked in self.requests(message):
            self.trunk.send(self.reply(asked).encode())
        wait_until(lambda: len(self.offers(wire, message)) == 3, 3, "three offers")
        self.assertEqual(servers, [seen.src_ip for seen in self.offers(wire, message)])

    def requests(self, message):
        return [seen for way, seen in self.trunk.frames() if way == "in" and seen.xid == message.xid]

    @staticmethod
    def offers(wire, message):
        return [seen for way, seen in wire.frames() if way == "in" and (seen.xid, seen.kind) == (message.xid, dhcp.OFFER)]


class WithRealServer(BoardTest):
    """The same with clients and a server that mean it."""
    options = {"mode": "full"}

    def test_a_release_frees_the_lease_directly_and_through_the_relay(self):
        for extension in (0, 1):
            with self.subTest(extension=extension):
                self.with_setting([f"set_unicast_extension {extension}"], ["set_unicast_extension 0"])
                client = self.client(Udhcpc, 1)
                client.start()
                address, mac = client.lease(), client.host.read("/sys/class/net/eth0/address").strip()
                vlan = NODE_VLAN if extension else SUBSCRIBER_VLAN
                server, before = self.server_wire(vlan), self.counters()
                client.release()
                seen = server.wait(lambda way, frame: frame.chaddr == mac and frame.kind == dhcp.RELEASE)
                self.assertEqual(address, seen.ciaddr)
                self.assertEqual(extension == 1, seen.option(82) is not None)
                wait_until(lambda: f"DHCP4_RELEASE [hwtype=1 {mac}]" in services.kea4_log(self.board.net), 5, "the server's log")
                self.assertCounts(before, release=1)
                client.stop()


if __name__ == "__main__":
    unittest.main()
