#!/usr/bin/python3
"""The main job, shown on real clients and a real server, and checked while it is shown."""
import os
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import acts6  # noqa: E402
from labkit import dhcp  # noqa: E402
from labkit.board import NODE_IP, NODE_VLAN, SUBSCRIBER_VLAN, Board, Options  # noqa: E402
from labkit.hosts import Lab, LabError, wait_until  # noqa: E402
from labkit.services import Capture, Dhclient, Udhcpc  # noqa: E402
from labkit.story import describe  # noqa: E402

BUILD = os.environ.get("DHCPRA_BUILD", Options.build)
CLIENTS = {"sub1": Udhcpc, "sub2": Dhclient}
COUNTERS = ["discover", "request", "offer", "ack", "decline", "nak", "release", "inform", "discard: option 82",
            "discard: giaddr", "discard: both", "discard: invalid", "discard: reaction", "option 82: no room",
            "discard: other"]


class Failed(Exception):
    """The demonstration did not show what it should."""


def say(text=""):
    print(text, flush=True)


def act(title):
    say()
    say(f"=== {title} " + "=" * (100 - len(title)))


def expect(condition, what):
    if not condition:
        raise Failed(what)
    say(f"    ok: {what}")


def counters(board):
    return board.call("get_summed_counters")["counters"]


def show_counters(before, after):
    grown = [f"{name} +{now - then}" for name, then, now in zip(COUNTERS, before, after) if now != then]
    say("  Counters of the relay: " + (", ".join(grown) or "unchanged"))


def decisions(output):
    """The relay's own words about its frames, from its frame-debug channel, without function and line."""
    lines = (line.split(": ", 1)[1].strip() for line in output.splitlines() if "DHCPRA_DEBUG:" in line and ": " in line)
    return [line for line in lines if line.startswith(("DO:", "option 82", "generated", "Generated", "giaddr", "Found",
                                                       "Set VLAN", "Send frame", "Local client"))]


def relay_one(board, subscriber, capture, expected):
    """One client's way to a lease; what the server saw of it is checked against expected."""
    host = board.subscriber_host(subscriber)
    client = CLIENTS[host.name](host)
    before = counters(board)
    said_before = len(board.olt.output("dhcpra"))
    say(f"  {client.name} on {host.name} (interface {subscriber.interface} \"{subscriber.interface_name}\") asks for an address.")
    wire = Capture(host, "eth0")
    client.start()
    address = client.lease()
    mac = host.read("/sys/class/net/eth0/address").strip()
    mine = lambda kind: lambda _, seen: seen.chaddr == mac and seen.kind == kind
    say("  What the client's port carried:")
    wire.wait(mine(dhcp.ACK), what="the ACK")
    for _, seen in wire.frames():
        say("    " + describe(seen))
    say("  What the relay decided:")
    for line in decisions(board.olt.output("dhcpra")[said_before:]):
        say("    " + line)
    say(f"  What the server's port carried (VLAN {expected['vlan']}):")
    asked = capture.wait(mine(dhcp.DISCOVER), what="the DISCOVER")
    capture.wait(mine(dhcp.ACK), what="the ACK")
    for _, seen in capture.frames():
        if seen.chaddr == mac:
            say("    " + describe(seen))
    say(f"  Lease: {client.events()[-1]}")
    expect(address.startswith("10.100.0."), f"{host.name} has the address {address} from the subscribers' pool")
    expect((asked.sub_option(1) or b"").decode() == expected["circuit"], f"the server saw the circuit id {expected['circuit']}")
    expect((asked.sub_option(2) or b"").decode() == expected["remote"], f"the server saw the remote id {expected['remote']}")
    expect(asked.giaddr == expected["giaddr"] and asked.hops == expected["hops"],
           f"giaddr {expected['giaddr']} and {expected['hops']} hop(s) on the way up")
    expect(all(seen.option(82) is None for _, seen in wire.frames()), "no frame on the client's wire carries option 82")
    after = counters(board)
    show_counters(before, after)
    expect(all(after[index] - before[index] >= 1 for index in range(4)), "DISCOVER, REQUEST, OFFER and ACK were counted")
    client.stop()
    wire.close()


def show_client_table(board):
    say("  The relay's client history:")
    for line in board.ctl("show", "clients").stdout.rstrip().splitlines():
        say("    " + line)


def leases(mode, kind, expectation):
    lab = Lab("demo")
    board = Board(lab, Options(mode=mode, kind=kind, build=BUILD))
    try:
        board.up()
        board.call("ext_message", "dhcpraFrameDebug", "1", "")
        device = f"v{NODE_VLAN if mode == 'full' else SUBSCRIBER_VLAN}"
        capture = Capture(board.net, device)
        for subscriber in board.subscribers:
            relay_one(board, subscriber, capture, expectation(subscriber))
        show_client_table(board)
        if mode == "simplified":
            spoof(board, capture)
    finally:
        lab.down()


def spoof(board, capture):
    act("A spoofed frame: a subscriber brings an option 82 of its own")
    subscriber = board.subscribers[0]
    before = counters(board)
    frame = dhcp.Message(chaddr="02:66:66:66:66:66", xid=0x66666666,
                         options=[(82, b"\x01\x1cKORVANEL:sh1 eth 3/0/1/2:100")]).encode()
    say(f"  {subscriber.host_name} sends: " + describe(dhcp.decode(frame)))
    Capture(board.subscriber_host(subscriber), "eth0").send(frame)
    after = wait_until(lambda: (lambda now: now if now[8] > before[8] else None)(counters(board)), 5,
                       "the discard to be counted")
    show_counters(before, after)
    expect(after[8] - before[8] == 1, "it was discarded for its option 82 and counted")
    expect(not any(seen.xid == 0x66666666 for _, seen in capture.frames()), "the server never saw it")


def main():
    say("dhcpra relays between real DHCP clients and a real DHCP server. Every host below is a network namespace of its own;")
    say("the board's bridge is played by vnode, the daemon is the one that a board runs.")
    act("Full mode on a PON board: it is a layer 3 relay agent (RFC 2131 giaddr, RFC 3046 option 82)")
    leases("full", "pon", lambda sub: {
        "vlan": NODE_VLAN, "giaddr": NODE_IP, "hops": 1, "remote": f"customer-{sub.number}",
        "circuit": f"KORVANEL:sh1 eth 3/{sub.interface_name}:{SUBSCRIBER_VLAN}"})
    act("Simplified mode on a board with lines: it is a layer 2 relay agent, giaddr and hops stay untouched")
    leases("simplified", "line", lambda sub: {
        "vlan": SUBSCRIBER_VLAN, "giaddr": "0.0.0.0", "hops": 0, "remote": f"customer-{sub.number}",
        "circuit": f"KORVANEL:sh1 eth 3/{sub.interface_name}:{SUBSCRIBER_VLAN}"})
    act("DHCPv6: a lightweight relay agent (RFC 6221) with interface id and remote id")
    acts6.play(BUILD, say, expect)
    say()
    say("Proved: in Full and in Simplified mode two real clients got leases from a real server through dhcpra, option 82 "
        "went in on the way up and out on the way down, and a spoofed frame was discarded and counted. Two DHCPv6 clients "
        "got addresses and prefixes through relay-forward and relay-reply.")


if __name__ == "__main__":
    try:
        main()
    except (Failed, LabError) as error:
        print(f"NOT shown: {error}", file=sys.stderr)
        sys.exit(1)
