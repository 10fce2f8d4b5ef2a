"""Tells what a capture shows in the words of the trade: who asked, what the relay added, what came back."""
from . import dhcp, dhcp6

SUB_OPTIONS = {1: "circuit id", 2: "remote id"}


def printable(raw):
    text = raw.decode("ascii", "replace")
    return f'"{text}"' if text.isprintable() else "0x" + raw.hex()


def describe_option82(seen):
    area = seen.option(82)
    if area is None:
        return "no option 82"
    parts = [f"{SUB_OPTIONS.get(code, f'sub-option {code}')} {printable(value)}" for code, value in dhcp.walk(area, False)]
    return "option 82: " + ", ".join(parts)


def describe(seen):
    """One line about a frame as it was on the wire."""
    vlan = "".join(f" vlan {tci & 0xFFF}" for _, tci in seen.tags)
    relay = f", giaddr {seen.giaddr}, hops {seen.hops}" if seen.giaddr != "0.0.0.0" else ""
    offered = f", address {seen.yiaddr}" if seen.yiaddr != "0.0.0.0" else ""
    return (f"{seen.type_name:8} {seen.src_ip}:{seen.sport} -> {seen.dst_ip}:{seen.dport}{vlan}, client {seen.chaddr}"
            f"{offered}{relay}; {describe_option82(seen)}")


def describe6(seen):
    """The same about a DHCPv6 frame."""
    inner = seen.inner
    text = f"{seen.type_name:13}" + (f" of {inner.type_name}" if inner else "")
    text += f" {seen.src_ip}:{seen.sport} -> {seen.dst_ip}:{seen.dport}"
    if not inner:
        return text
    names = {dhcp6.INTERFACE_ID: "interface id", dhcp6.REMOTE_ID: "remote id"}
    options = [f"{names[code]} {printable(value[4:] if code == dhcp6.REMOTE_ID else value)}"
               for code, value in seen.options if code in names]
    return f"{text}, peer {seen.peer}, link {seen.link}; " + (", ".join(options) or "no option 18 or 37")
