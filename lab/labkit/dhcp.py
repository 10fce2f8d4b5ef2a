"""DHCPv4 frames as the lab's own peers write and read them; knows nothing of the daemon's code."""
import socket
import struct
from dataclasses import dataclass, field

TYPES = {1: "DISCOVER", 2: "OFFER", 3: "REQUEST", 4: "DECLINE", 5: "ACK", 6: "NAK", 7: "RELEASE", 8: "INFORM"}
DISCOVER, OFFER, REQUEST, DECLINE, ACK, NAK, RELEASE, INFORM = range(1, 9)
COOKIE = b"\x63\x82\x53\x63"
BROADCAST_MAC = "ff:ff:ff:ff:ff:ff"
ETH_P_ALL = 3


def mac_bytes(text):
    return bytes(int(part, 16) for part in text.split(":"))


def mac_text(raw):
    return ":".join(f"{byte:02x}" for byte in raw)


def checksum(data):
    """RFC 1071."""
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


@dataclass
class Message:
    """A DHCP message and the headers around it; encode() gives the frame."""
    kind: int = DISCOVER
    chaddr: str = "02:00:00:00:00:01"
    xid: int = 0x11223344
    op: int = 1
    src_mac: str = ""
    dst_mac: str = BROADCAST_MAC
    src_ip: str = "0.0.0.0"
    dst_ip: str = "255.255.255.255"
    sport: int = 68
    dport: int = 67
    hops: int = 0
    secs: int = 0
    flags: int = 0
    ciaddr: str = "0.0.0.0"
    yiaddr: str = "0.0.0.0"
    siaddr: str = "0.0.0.0"
    giaddr: str = "0.0.0.0"
    tags: list = field(default_factory=list)      # (tpid, tci) outermost first
    options: list = field(default_factory=list)   # (code, bytes) between option 53 and the End option
    raw_options: bytes = b""                      # stands behind them, before the End option
    padding: int = 0                              # zero bytes behind the End option
    udp_checksum: object = None                   # None: right; a number: as given

    def dhcp(self):
        head = struct.pack("!BBBBIHH4s4s4s4s", self.op, 1, 6, self.hops, self.xid, self.secs, self.flags,
                           *map(socket.inet_aton, (self.ciaddr, self.yiaddr, self.siaddr, self.giaddr)))
        area = COOKIE + (bytes((53, 1, self.kind)) if self.kind else b"")
        area += b"".join(bytes((code, len(value))) + value for code, value in self.options)
        return head + mac_bytes(self.chaddr).ljust(16, b"\0") + bytes(192) + area + self.raw_options + b"\xff" + \
            bytes(self.padding)

    def encode(self):
        payload = self.dhcp()
        length = 8 + len(payload)
        pseudo = socket.inet_aton(self.src_ip) + socket.inet_aton(self.dst_ip) + struct.pack("!BBH", 0, 17, length)
        udp = struct.pack("!HHHH", self.sport, self.dport, length, 0)
        total = self.udp_checksum if self.udp_checksum is not None else checksum(pseudo + udp + payload) or 0xFFFF
        ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + length, 1, 0, 64, 17, 0, socket.inet_aton(self.src_ip),
                         socket.inet_aton(self.dst_ip))
        ip = ip[:10] + struct.pack("!H", checksum(ip)) + ip[12:]
        tags = b"".join(struct.pack("!HH", tpid, tci) for tpid, tci in self.tags)
        return (mac_bytes(self.dst_mac) + mac_bytes(self.src_mac or self.chaddr) + tags + b"\x08\x00" + ip +
                udp[:6] + struct.pack("!H", total) + payload)


@dataclass
class Seen:
    """What a capture says about one DHCP frame."""
    kind: int
    op: int
    xid: int
    hops: int
    flags: int
    chaddr: str
    ciaddr: str
    yiaddr: str
    giaddr: str
    src_mac: str
    dst_mac: str
    src_ip: str
    dst_ip: str
    sport: int
    dport: int
    tags: list
    options: list   # (code, bytes) in wire order
    udp_ok: bool
    raw: bytes

    def option(self, code):
        return next((value for number, value in self.options if number == code), None)

    @property
    def type_name(self):
        return TYPES.get(self.kind, f"type {self.kind}")

    def sub_option(self, code):
        """A sub-option of option 82 (RFC 3046), or None."""
        return next((value for number, value in walk(self.option(82) or b"", False) if number == code), None)


def walk(area, with_end=True):
    """Options of an area; with_end: code 0 pads and code 255 ends it."""
    found, at = [], 0
    while at < len(area):
        code = area[at]
        if with_end and code == 255:
            break
        if with_end and code == 0:
            at += 1
            continue
        if at + 2 > len(area):
            break
        found.append((code, area[at + 2:at + 2 + area[at + 1]]))
        at += 2 + area[at + 1]
    return found


def decode(frame):
    """The DHCPv4 message in an Ethernet frame, or None."""
    at, tags = 12, []
    while len(frame) >= at + 4 and frame[at:at + 2] in (b"\x81\x00", b"\x88\xa8"):
        tags.append(struct.unpack_from("!HH", frame, at))
        at += 4
    if frame[at:at + 2] != b"\x08\x00" or len(frame) < at + 2 + 28 or frame[at + 11] != 17:
        return None
    ip = frame[at + 2:]
    size = (ip[0] & 15) * 4
    sport, dport, length, total = struct.unpack_from("!HHHH", ip, size)
    payload = ip[size + 8:size + length]
    if {sport, dport}.isdisjoint({67, 68}) or len(payload) < 240 or payload[236:240] != COOKIE:
        return None
    pseudo = ip[12:20] + struct.pack("!BBH", 0, 17, length)
    options = walk(payload[240:])
    kind = next((value[0] for code, value in options if code == 53 and value), 0)
    address = lambda offset: socket.inet_ntoa(payload[offset:offset + 4])
    return Seen(kind=kind, op=payload[0], xid=struct.unpack_from("!I", payload, 4)[0], hops=payload[3],
                flags=struct.unpack_from("!H", payload, 10)[0], chaddr=mac_text(payload[28:34]), ciaddr=address(12),
                yiaddr=address(16), giaddr=address(24), src_mac=mac_text(frame[6:12]), dst_mac=mac_text(frame[:6]),
                src_ip=socket.inet_ntoa(ip[12:16]), dst_ip=socket.inet_ntoa(ip[16:20]), sport=sport, dport=dport,
                tags=tags, options=options,
                udp_ok=total == 0 or checksum(pseudo + ip[size:size + length]) in (0, 0xFFFF), raw=frame)


class Port:
    """A raw socket on a device: sends frames, receives them with the tag that the kernel moved aside put back."""
    PACKET_AUXDATA, SOL_PACKET, VLAN_VALID, VLAN_TPID_VALID = 8, 263, 1 << 4, 1 << 6

    def __init__(self, device):
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
        self.socket.setsockopt(self.SOL_PACKET, self.PACKET_AUXDATA, 1)
        self.socket.bind((device, 0))

    def send(self, frame):
        self.socket.send(frame)

    def receive(self, seconds):
        """The next frame and whether it was sent by this host; (None, False) when the time is over."""
        self.socket.settimeout(max(seconds, 0.001))
        try:
            frame, extra, _, address = self.socket.recvmsg(4096, 256)
        except TimeoutError:
            return None, False
        for level, kind, data in extra:
            if level == self.SOL_PACKET and kind == self.PACKET_AUXDATA:
                status, _, _, _, _, tci, tpid = struct.unpack("=IIIHHHH", data[:20])
                if status & self.VLAN_VALID:
                    tag = struct.pack("!HH", tpid if status & self.VLAN_TPID_VALID else 0x8100, tci)
                    frame = frame[:12] + tag + frame[12:]
        return frame, address[2] == socket.PACKET_OUTGOING
