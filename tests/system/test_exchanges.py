"""Everything that a client says in its life, beyond the four messages of getting an address."""
import unittest

from peers import *  # noqa: F403  (raw peers, and the vocabulary of the system tests)

ALT_VLAN, ALT_INTERFACE, ALT_NAME = 200, 3100, "0/31"
SECOND_UPLINK = 3101
NO_REPLY = (None, None, None)
# A client's message and its flags, the reply to it, and how that is addressed: MAC, if not the client's own, and IP.
MESSAGES = [
    ("discover", 0x8000, "offer", dhcp.BROADCAST_MAC, "255.255.255.255"), ("discover", 0, "offer", None, CLIENT_IP),
    ("request", 0x7FFF, "ack", None, CLIENT_IP), ("request", 0, "nak", None, CLIENT_IP),
    ("decline", 0, *NO_REPLY), ("release", 0, *NO_REPLY), ("inform", 0, "ack", None, CLIENT_IP)]


class Messages(PeerTest):
    """A subscriber in VLAN 100, one in VLAN 200, and a second uplink that is off until a test needs it."""
    options = {
        "server": "none", "subscribers": 2, "trunk_vlans": str(ALT_VLAN),
        "cables": [("alt", "alt", "eth0"), ("up1", "net", "trunk1")],
        "interfaces": [f'<interface id="{ALT_INTERFACE}" name="{ALT_NAME}" linux="alt" type="subscriber" port="31"/>',
                       f'<interface id="{SECOND_UPLINK}" name="0/100" linux="up1" type="eth" port="100"/>'],
        "ports": [f'<port device="alt" interface="{ALT_INTERFACE}" untagged="{ALT_VLAN}"/>',
                  f'<port device="up1" interface="{SECOND_UPLINK}" tagged="{SUBSCRIBER_VLAN} {ALT_VLAN}"/>'],
        "config": [f"intf_set_mode {SECOND_UPLINK} 0"]}

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

    def test_two_clients_with_one_mac_on_two_vlans_each_get_their_own_replies(self):
        for mode in BOTH_MODES:
            self.in_mode(mode)
            first, second, mac = self.subscriber_wire(1), self.wire(self.board.lab.host("alt")), fresh_mac()
            for kind, reply_kind in ((dhcp.DISCOVER, dhcp.OFFER), (dhcp.REQUEST, dhcp.ACK)):
                with self.subTest(mode=mode, kind=kind):
                    one = self.ask(first, self.question(kind, chaddr=mac))
                    two = self.ask(second, self.question(kind, chaddr=mac))
                    self.assertEqual(circuit_of(ALT_NAME, ALT_VLAN), two.sub_option(1))
                    # The later one is answered first.
                    self.assertGoodReply(self.answer(two, second, reply_kind, yiaddr="10.200.0.9"), yiaddr="10.200.0.9")
                    self.assertGoodReply(self.answer(one, first, reply_kind))
                    for wire, xid in ((first, two.xid), (second, one.xid)):
                        self.assertFalse([seen for _, seen in wire.frames() if seen.xid == xid])
            sequence = "DISCOVER->OFFER->REQUEST->ACK"
            self.assertEqual([(ALT_VLAN, ALT_INTERFACE, sequence),
                              (SUBSCRIBER_VLAN, self.board.subscribers[0].interface, sequence)], self.history(mac))

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

    def test_in_simplified_mode_every_network_side_port_gets_the_request(self):
        self.in_mode("simplified")
        self.with_setting([f"intf_set_mode {SECOND_UPLINK} 2"], [f"intf_set_mode {SECOND_UPLINK} 0"])
        wire, second, message = self.subscriber_wire(1), self.wire(self.board.net, "trunk1"), self.question()
        asked = self.ask(wire, message)
        copy = second.wait(by_xid(message.xid, direction="in"), what="the copy at the second uplink")
        self.assertEqual(circuit_of("0/1/1"), asked.sub_option(1))
        self.assertEqual(asked.raw, copy.raw)
        offers = [self.reply(asked, yiaddr=f"10.100.0.{number}").encode() for number in (81, 82)]
        self.trunk.send(offers[0])
        second.send(offers[1])
        wait_until(lambda: len(self.offers(wire, message)) == 2, 3, "an offer from each side")
        self.assertEqual(["10.100.0.81", "10.100.0.82"], sorted(seen.yiaddr for seen in self.offers(wire, message)))
        self.assertFalse([seen for seen in self.offers(wire, message) if seen.option(82)])


class WithRealServer(BoardTest):
    """The same with clients and a server that mean it."""
    options = {"mode": "full"}

    def kea_says(self, text):
        wait_until(lambda: text in services.kea4_log(self.board.net), 5, f"the server's {text}")

    def bound_client(self, number):
        client = self.client(Udhcpc, number)
        client.start()
        address = client.lease()
        return client, address, client.host.read("/sys/class/net/eth0/address").strip()

    def test_a_release_frees_the_lease_directly_and_through_the_relay(self):
        for extension in (0, 1):
            with self.subTest(extension=extension):
                self.with_setting([f"set_unicast_extension {extension}"], ["set_unicast_extension 0"])
                client, address, mac = self.bound_client(1)
                vlan = NODE_VLAN if extension else SUBSCRIBER_VLAN
                server, before = self.server_wire(vlan), self.counters()
                client.release()
                seen = server.wait(lambda way, frame: frame.chaddr == mac and frame.kind == dhcp.RELEASE)
                self.assertEqual(address, seen.ciaddr)
                self.assertEqual(extension == 1, seen.option(82) is not None)
                self.kea_says(f"DHCP4_RELEASE [hwtype=1 {mac}]")
                self.assertCounts(before, release=1)
                client.stop()

    def test_a_declined_address_is_not_given_again(self):
        client, address, mac = self.bound_client(1)
        client.stop()
        wire, server, before = self.subscriber_wire(1), self.server_wire(NODE_VLAN), self.counters()
        number = bytes(map(int, address.split(".")))
        me = (61, b"\x01" + dhcp.mac_bytes(mac))
        wire.send(dhcp.Message(kind=dhcp.DECLINE, chaddr=mac, xid=0xDEC1,
                               options=[(50, number), (54, bytes(map(int, SUBSCRIBER_SERVER_IP.split(".")))), me]).encode())
        self.assertEqual(circuit_of("0/1/1"), server.wait(by_xid(0xDEC1, dhcp.DECLINE, "in")).sub_option(1))
        self.kea_says(f"DHCPDECLINE for addr {address} from client [hwtype=1 {mac}]")
        self.assertCounts(before, decline=1)
        wire.send(dhcp.Message(chaddr=mac, xid=0xDEC2, options=[(50, number), me]).encode())
        offer = wire.wait(by_xid(0xDEC2, dhcp.OFFER, "in"), what="an offer")
        self.assertNotEqual(address, offer.yiaddr)


if __name__ == "__main__":
    unittest.main()
