"""Raw peers of the relay: subscribers that ask and servers that answer, frame by frame.

Everything is watched and sent at the trunk's far end: what the board sends to its network comes "in" there, tagged.
"""
import itertools
from dataclasses import replace

from support import *  # noqa: F403  (the vocabulary of the system tests)

SERVER_MAC = "02:00:00:00:5e:01"
CLIENT_IP = "10.100.0.77"
_numbers = itertools.count(0x51000001)

UNTAGGED = []


def tag(vlan, priority=0, tpid=0x8100):
    return (tpid, priority << 13 | vlan)


def fresh_xid():
    return next(_numbers)


def fresh_mac():
    return "02:00:" + dhcp.mac_text(next(_numbers).to_bytes(4, "big"))


def circuit_of(interface_name, vlan=SUBSCRIBER_VLAN):
    return f"KORVANEL:sh1 eth 3/{interface_name}:{vlan}".encode()


class PeerTest(BoardTest):
    """Nobody answers by himself; the test plays the subscribers and the servers."""

    def setUp(self):
        self.trunk = self.wire(self.board.net, "trunk0")

    # -- subscribers ---------------------------------------------------------------------------------------------

    @staticmethod
    def question(kind=dhcp.DISCOVER, **fields):
        """A client's message; its MAC and transaction are new unless given."""
        return dhcp.Message(**{"kind": kind, "chaddr": fresh_mac(), "xid": fresh_xid(), **fields})

    def ask(self, wire, message):
        """Sends a client's message and answers it as it came to the network."""
        wire.send(message.encode())
        return self.asked(message.xid)

    def asked(self, xid, what="the request"):
        return self.trunk.wait(by_xid(xid, direction="in"), what=what)

    def assertNotAsked(self, message):
        self.assertNothing(self.trunk, lambda seen: seen.xid == message.xid)

    # -- servers -------------------------------------------------------------------------------------------------

    @staticmethod
    def reply(asked, kind=dhcp.OFFER, **fields):
        """A server's message to the request that it saw, with the relay's option 82 in it."""
        relayed = asked.giaddr != "0.0.0.0"
        server = asked.dst_ip if relayed else SUBSCRIBER_SERVER_IP
        information = asked.option(82)
        message = dhcp.Message(
            kind=kind, op=2, xid=asked.xid, chaddr=asked.chaddr, flags=asked.flags, giaddr=asked.giaddr,
            yiaddr=CLIENT_IP, src_mac=SERVER_MAC, dst_mac=asked.src_mac if relayed else dhcp.BROADCAST_MAC,
            src_ip=server, dst_ip=asked.giaddr if relayed else "255.255.255.255", sport=67,
            dport=67 if relayed else 68, tags=list(asked.tags),
            options=[(54, bytes(map(int, server.split("."))))] + ([(82, information)] if information else []))
        return replace(message, **fields)

    def answer(self, asked, wire, kind=dhcp.OFFER, **fields):
        """Sends the reply and answers it as it came to the subscriber."""
        reply = self.reply(asked, kind, **fields)
        self.trunk.send(reply.encode())
        return wire.wait(by_xid(reply.xid, reply.kind, "in"), what=f"the {dhcp.TYPES.get(kind, kind)}")

    def assertGoodReply(self, seen, **fields):
        """What holds for every reply that reaches a subscriber."""
        self.assertTrue(seen.udp_ok, "the checksum is right")
        self.assertEqual((67, 68), (seen.sport, seen.dport))
        for name, value in {"yiaddr": CLIENT_IP, **fields}.items():
            self.assertEqual(value, getattr(seen, name), name)

    # -- settings ------------------------------------------------------------------------------------------------

    def in_mode(self, mode):
        """Until the end of the test, or the next call."""
        wanted, usual = (f"set_full_mode {int(each == 'full')}" for each in (mode, self.board.options.mode))
        self.with_setting([wanted], [usual])

    def history(self, mac):
        """Lines of the relay's client history about a MAC, in its order: (VLAN, interface, messages)."""
        lines = self.board.dump().partition("Client History")[2].splitlines()
        entries = [dict(part.split(": ", 1) for part in line.split(", ")[1:]) for line in lines
                   if f"mac: {mac.upper()}" in line]
        return [(int(entry["vlan"]), int(entry["intf"]), entry["msgSeq"]) for entry in entries]


BOTH_MODES = ("full", "simplified")
