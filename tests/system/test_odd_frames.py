"""Frames that real networks make and honest ones would not: odd options, sizes at the edge, sums, lengths that lie."""
import socket
import struct
import unittest

from peers import *  # noqa: F403

SECRET = b"S3CR3T" * 20
ETHERNET, IP, UDP, DHCP = 0, 14, 34, 42   # where the headers of an untagged frame start
BRIDGE_TAG = 4                            # a diverted frame carries the tag of its VLAN


class OddFrames(PeerTest):
    options = {"server": "none", "subscribers": 2}

    def setUp(self):
        super().setUp()
        self.interface = self.board.subscribers[0].interface
        self.below = self.subscriber_wire(1)
        self.daemon = self.board.olt.service_pid("dhcpra")
        self.addCleanup(self.check_daemon)

    def check_daemon(self):
        self.assertEqual(self.daemon, self.board.olt.service_pid("dhcpra"), "the daemon is the same one")


class OddContents(OddFrames):
    def test_ours_goes_in_front_of_the_end_and_padding_stays_behind_it(self):
        self.in_mode("simplified")
        message = self.question(padding=33)
        ours = b"\x01" + bytes([len(circuit_of("0/1/1"))]) + circuit_of("0/1/1") + b"\x02\x0acustomer-1"
        expected = replace(message, raw_options=bytes((82, len(ours))) + ours, tags=[tag(SUBSCRIBER_VLAN)])
        self.assertEqual(expected.encode(), self.ask(self.below, message).raw)

    def test_a_frame_that_fills_the_buffer_passes_and_one_byte_more_does_not(self):
        self.in_mode("simplified")
        largest = 2048 - 107 - BRIDGE_TAG
        bare = len(self.question().encode())
        message, before = self.question(padding=largest - bare), self.counters(self.interface)
        self.assertEqual(replace(message, tags=[tag(SUBSCRIBER_VLAN)]).encode(), self.ask(self.below, message).raw)
        self.assertCounts(before, self.interface, discover=1, opt82_no_room=1)
        before = self.board.node("status")["drop.oversize"]
        message = self.question(padding=largest - bare + 1)
        self.below.send(message.encode())
        self.assertNotAsked(message)
        self.assertEqual(before + 1, self.board.node("status")["drop.oversize"])

    def test_a_checksum_of_zero_means_none_and_a_right_one_leaves(self):
        for mode in BOTH_MODES:
            self.in_mode(mode)
            with self.subTest(mode=mode):
                asked = self.ask(self.below, self.question(udp_checksum=0))
                self.assertNotEqual(b"\0\0", asked.raw[UDP + 4 + 6:UDP + 4 + 8], "there is a sum")
                self.assertTrue(asked.udp_ok)
                seen = self.answer(asked, self.below, udp_checksum=0)
                self.assertNotEqual(b"\0\0", seen.raw[UDP + 6:UDP + 8])
                self.assertGoodReply(seen)

    def test_a_client_whose_card_should_compute_it_is_relayed(self):
        host = self.board.lab.host("sub1")
        host.run("ethtool", "-K", "eth0", "tx", "on")
        self.addCleanup(host.run, "ethtool", "-K", "eth0", "tx", "off")
        with host.network(), socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
            client.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, b"eth0")
            client.bind(("", 68))
            for mode in BOTH_MODES:
                self.in_mode(mode)
                with self.subTest(mode=mode):
                    message = self.question()
                    client.sendto(message.dhcp(), ("255.255.255.255", 67))
                    left = self.below.wait(by_xid(message.xid, direction="out"), what="the client's own frame")
                    self.assertFalse(left.udp_ok, "the sender leaves the sum to a card that a veth does not have")
                    asked = self.asked(message.xid)
                    self.assertTrue(asked.udp_ok)
                    self.assertEqual(circuit_of("0/1/1"), asked.sub_option(1))


def put16(frame, at, value):
    struct.pack_into("!H", frame, at, value & 0xFFFF)


def grow(at, by):
    """Changes a length field; the IP header's sum is made right again."""
    def change(frame):
        put16(frame, at, struct.unpack_from("!H", frame, at)[0] + by)
    return change


def setter(at, value):
    def change(frame):
        frame[at:at + len(value)] = value
    return change


def longer_header(frame):
    """The ports are then read where the UDP sum stands."""
    frame[IP] = 0x46
    put16(frame, UDP + 6, 67)


# Behind option 53: what the relay makes of a DISCOVER changed like this. The type is counted where it can be read.
REFUSED, REFUSED_AS_DISCOVER = {"discard_reaction": 1}, {"discover": 1, "discard_reaction": 1}
LIES = {
    "UDP length 0": (setter(UDP + 4, b"\0\0"), REFUSED),
    "UDP length without a header": (setter(UDP + 4, b"\0\x07"), REFUSED_AS_DISCOVER),
    "UDP length of a header only": (setter(UDP + 4, b"\0\x08"), REFUSED),
    "UDP length of 239 bytes": (setter(UDP + 4, struct.pack("!H", 8 + 239)), REFUSED),
    "UDP length of 240 bytes": (setter(UDP + 4, struct.pack("!H", 8 + 240)), REFUSED),
    "UDP length in front of the End": (grow(UDP + 4, -1), REFUSED_AS_DISCOVER),
    "UDP length one behind the end": (grow(UDP + 4, 1), REFUSED_AS_DISCOVER),
    "UDP length far behind the end": (grow(UDP + 4, 1500), REFUSED_AS_DISCOVER),
    "UDP length 65535": (setter(UDP + 4, b"\xff\xff"), REFUSED_AS_DISCOVER),
    "IP header of 24 bytes": (longer_header, REFUSED),
    "option length behind the end": (setter(DHCP + 244, b"\xff"), REFUSED_AS_DISCOVER),
    "option length up to the end": (setter(DHCP + 244, b"\x0b"), REFUSED_AS_DISCOVER),
    "no cookie": (setter(DHCP + 236, b"\x63\x82\x53\x64"), REFUSED_AS_DISCOVER),
    "opcode 0": (setter(DHCP, b"\0"), REFUSED_AS_DISCOVER),
    "opcode 3": (setter(DHCP, b"\3"), REFUSED_AS_DISCOVER),
    "to the client's port": (setter(UDP + 2, b"\0\x44"), {"discover": 1, "discard_invalid": 1}),
}


class Lies(OddFrames):
    def setUp(self):
        super().setUp()
        self.other, self.long_ones = self.subscriber_wire(2), set()

    def fill_buffers(self):
        """A long frame whose bytes must not be seen in any other."""
        message = self.question(dhcp.INFORM, options=[(43, SECRET), (43, SECRET), (43, SECRET)])
        self.long_ones.add(message.xid)
        self.ask(self.below, message)

    def assertNoSecret(self):
        for wire in (self.trunk, self.below, self.other):
            for _, seen in wire.frames():
                if seen.xid not in self.long_ones:
                    self.assertNotIn(b"S3C", seen.raw)

    def assertStillRelays(self):
        asked = self.ask(self.below, self.question())
        self.assertGoodReply(self.answer(asked, self.below))

    def frame(self):
        """14 option bytes stand between the type and the End option."""
        return bytearray(self.question(udp_checksum=0, options=[(12, b"abcdefghijkl")]).encode())

    @staticmethod
    def with_right_header_sum(frame):
        put16(frame, IP + 10, 0)
        put16(frame, IP + 10, dhcp.checksum(bytes(frame[IP:IP + (frame[IP] & 15) * 4])))
        return bytes(frame)

    def test_lengths_and_fields_that_lie(self):
        for mode in BOTH_MODES:
            self.in_mode(mode)
            for name, (change, counted) in LIES.items():
                with self.subTest(mode=mode, lie=name):
                    self.fill_buffers()
                    frame, before = self.frame(), self.counters(self.interface)
                    change(frame)
                    xid = struct.unpack_from("!I", frame, DHCP + 4)[0]
                    self.below.send(self.with_right_header_sum(frame))
                    self.assertCounts(before, self.interface, **counted)
                    self.assertFalse([seen for _, seen in self.trunk.frames() if seen.xid == xid])
            self.assertNoSecret()
            self.assertStillRelays()

    def test_an_ip_length_that_lies_harms_nobody(self):
        # The relay goes by the UDP length; what comes out is that message.
        for change in (grow(IP + 2, 200), grow(IP + 2, -200), setter(IP + 2, b"\xff\xff"), setter(IP + 2, b"\0\0")):
            self.fill_buffers()
            frame = self.frame()
            change(frame)
            asked_before = struct.unpack_from("!I", frame, DHCP + 4)[0]
            self.below.send(self.with_right_header_sum(frame))
            asked = self.asked(asked_before)
            self.assertEqual((circuit_of("0/1/1"), b"abcdefghijkl"), (asked.sub_option(1), asked.option(12)))
            self.assertNoSecret()
        self.assertStillRelays()

    def test_a_frame_cut_at_every_length(self):
        ports_end = UDP + 4  # from here on the bridge knows a DHCP frame
        for mode in BOTH_MODES:
            self.in_mode(mode)
            with self.subTest(mode=mode):
                self.fill_buffers()
                frame, before = bytes(self.frame()), self.counters(self.interface)
                for size in range(14, len(frame)):
                    self.below.send(frame[:size])
                self.assertCounts(before, self.interface, discover=len(frame) - (DHCP + 243),
                                  discard_reaction=len(frame) - ports_end)
                self.assertNoSecret()
                self.assertStillRelays()

    def test_what_stands_behind_the_packet_stays_its_own(self):
        # Short frames are padded to 60 bytes on a wire; a sender may put anything there.
        for mode in BOTH_MODES:
            self.in_mode(mode)
            for trailer in (b"\0" * 6, b"T" * 40, b"T" * 300):
                with self.subTest(mode=mode, trailer=len(trailer)):
                    self.fill_buffers()
                    message = self.question()
                    self.below.send(message.encode() + trailer)
                    asked = self.asked(message.xid)
                    self.assertEqual(circuit_of("0/1/1"), asked.sub_option(1))
                    self.assertTrue(asked.udp_ok)
                    self.assertNoSecret()

    def test_sub_options_that_lie_find_nobody_and_stay_inside(self):
        asked = self.ask(self.below, self.question())
        self.answer(asked, self.below)
        for value in (b"\x01", b"\x01\xff", b"\x01\xff" + b"KORVANEL:sh1 eth 3/", b"\x01\x00"):
            with self.subTest(value):
                self.fill_buffers()
                before = self.counters(self.board.uplink)
                self.trunk.send(self.reply(asked, dhcp.NAK, options=[(82, value)]).encode())
                self.assertCounts(before, self.board.uplink, nak=1, discard_invalid=1)
                self.assertNoSecret()


if __name__ == "__main__":
    unittest.main()
