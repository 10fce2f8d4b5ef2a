"""DHCPv6 frames (RFC 8415) as the lab's own peers write and read them; knows nothing of the daemon's code."""
import socket
import struct
from dataclasses import dataclass, field

from .dhcp import checksum, mac_bytes, mac_text

(SOLICIT, ADVERTISE, REQUEST, CONFIRM, RENEW, REBIND, REPLY, RELEASE, DECLINE, RECONFIGURE, INFORMATION_REQUEST,
 RELAY_FORWARD, RELAY_REPLY) = range(1, 14)
TYPES = ("", "SOLICIT", "ADVERTISE", "REQUEST", "CONFIRM", "RENEW", "REBIND", "REPLY", "RELEASE", "DECLINE", "RECONFIGURE",
         "INFORMATION-REQUEST", "RELAY-FORWARD", "RELAY-REPLY")
CLIENT_ID, SERVER_ID, ELAPSED, RELAY_MESSAGE, INTERFACE_ID, REMOTE_ID = 1, 2, 8, 9, 18, 37
ALL_SERVERS, ALL_SERVERS_MAC = "ff02::1:2", "33:33:00:01:00:02"


def option(code, value):
    return struct.pack("!HH", code, len(value)) + value


def client_id(mac):
    """DUID-LL."""
    return option(CLIENT_ID, b"\x00\x03\x00\x01" + mac_bytes(mac))


def message(kind, xid, *options):
    return bytes((kind,)) + xid.to_bytes(3, "big") + b"".join(options)


def relay_message(kind, hops, link, peer, *options):
    return bytes((kind, hops)) + _address(link) + _address(peer) + b"".join(options)


def _address(text):
    return socket.inet_pton(socket.AF_INET6, text)


@dataclass
class Frame:
    """A DHCPv6 payload with the headers around it; encode() gives the bytes."""
    payload: bytes
    src_mac: str = "02:00:00:00:06:01"
    dst_mac: str = ALL_SERVERS_MAC
    src_ip: str = "fe80::6:1"
    dst_ip: str = ALL_SERVERS
    sport: int = 546
    dport: int = 547
    tags: list = field(default_factory=list)   # (tpid, tci) outermost first
    extension: bytes = b""                     # a whole extension header; its first byte must say 17

    def encode(self):
        length = 8 + len(self.payload)
        pseudo = _address(self.src_ip) + _address(self.dst_ip) + struct.pack("!IHBB", length, 0, 0, 17)
        udp = struct.pack("!HHHH", self.sport, self.dport, length, 0)
        total = checksum(pseudo + udp + self.payload) or 0xFFFF
        ip = struct.pack("!IHBB", 0x60000000, len(self.extension) + length, 0 if self.extension else 17, 1)
        tags = b"".join(struct.pack("!HH", tpid, tci) for tpid, tci in self.tags)
        return (mac_bytes(self.dst_mac) + mac_bytes(self.src_mac) + tags + b"\x86\xdd" + ip + _address(self.src_ip) +
                _address(self.dst_ip) + self.extension + udp[:6] + struct.pack("!H", total) + self.payload)


@dataclass
class Seen:
    """What a capture says about one DHCPv6 frame."""
    payload: bytes
    src_mac: str
    dst_mac: str
    src_ip: str
    dst_ip: str
    sport: int
    dport: int
    tags: list
    udp_ok: bool
    raw: bytes

    @property
    def kind(self):
        return self.payload[0]

    @property
    def is_relay(self):
        return self.kind in (RELAY_FORWARD, RELAY_REPLY)

    @property
    def type_name(self):
        return TYPES[self.kind] if self.kind < len(TYPES) else f"type {self.kind}"

    @property
    def xid(self):
        """Of the message, or of the innermost one of a relay message."""
        inner = self.inner
        return inner.xid if inner else int.from_bytes(self.payload[1:4], "big")

    @property
    def hops(self):
        return self.payload[1]

    @property
    def link(self):
        return socket.inet_ntop(socket.AF_INET6, self.payload[2:18])

    @property
    def peer(self):
        return socket.inet_ntop(socket.AF_INET6, self.payload[18:34])

    @property
    def options(self):
        """(code, bytes) in wire order."""
        at, found = 34 if self.is_relay else 4, []
        while at + 4 <= len(self.payload):
            code, size = struct.unpack_from("!HH", self.payload, at)
            found.append((code, self.payload[at + 4:at + 4 + size]))
            at += 4 + size
        return found

    def option(self, code):
        return next((value for number, value in self.options if number == code), None)

    @property
    def inner(self):
        """The message inside a relay message, as if it stood in its place; None for others."""
        value = self.option(RELAY_MESSAGE) if self.is_relay else None
        return Seen(**{**vars(self), "payload": value}) if value else None

    @property
    def client_mac(self):
        """From the client identifier, also inside a relay message; None where it has none."""
        inner = self.inner
        if inner:
            return inner.client_mac
        duid = (self.option(CLIENT_ID) if not self.is_relay else None) or b""
        return mac_text(duid[-6:]) if duid[:2] in (b"\0\1", b"\0\3") else None


def decode(frame):
    """The DHCPv6 message right behind the IPv6 header of an Ethernet frame, or None."""
    at, tags = 12, []
    while len(frame) >= at + 4 and frame[at:at + 2] in (b"\x81\x00", b"\x88\xa8"):
        tags.append(struct.unpack_from("!HH", frame, at))
        at += 4
    ip = frame[at + 2:]
    if frame[at:at + 2] != b"\x86\xdd" or len(ip) < 50 or ip[6] != 17:
        return None
    sport, dport, length = struct.unpack_from("!HHH", ip, 40)
    payload = ip[48:40 + length]
    if {sport, dport}.isdisjoint({546, 547}) or not payload:
        return None
    pseudo = ip[8:40] + struct.pack("!IHBB", length, 0, 0, 17)
    return Seen(payload=payload, src_mac=mac_text(frame[6:12]), dst_mac=mac_text(frame[:6]),
                src_ip=socket.inet_ntop(socket.AF_INET6, ip[8:24]), dst_ip=socket.inet_ntop(socket.AF_INET6, ip[24:40]),
                sport=sport, dport=dport, tags=tags, udp_ok=checksum(pseudo + ip[40:40 + length]) in (0, 0xFFFF), raw=frame)
