"""The DHCPv6 act of the demonstration."""
from labkit import dhcp6, ipv6
from labkit.board import SUBSCRIBER_VLAN, Board, Options
from labkit.hosts import Lab, wait_until
from labkit.ipv6 import Capture6, Dhclient6, Dhcp6c
from labkit.story import describe6

CLIENTS = {"sub1": (Dhclient6, b"sh1 n/a 99/3/1/1:100"), "sub2": (Dhcp6c, b"port-2-100")}
COUNTERS = ["solicit", "advertise", "request", "confirm", "renew", "rebind", "reply", "release", "decline", "reconfigure",
            "information-request", "relay-forward", "relay-reply", "discard: reaction", "", "discard: too long",
            "discard: interface"]


def play(build, say, expect):
    """Brings a board up, lets two clients get an address and a prefix each, and takes it down."""
    lab = Lab("demo")
    board = Board(lab, Options(mode="simplified", build=build))
    try:
        board.up()
        ipv6.start(board, SUBSCRIBER_VLAN)
        second = board.subscribers[1].interface
        board.apply([*ipv6.configuration(board, board.uplink, SUBSCRIBER_VLAN),
                     f"dra6_interfaceid_mode_intf_vlan_set {second} {SUBSCRIBER_VLAN} 2",
                     f"dra6_interfaceid_format_intf_vlan_set {second} {SUBSCRIBER_VLAN} port-2-$VLAN"])
        server = Capture6(board.net, f"v{SUBSCRIBER_VLAN}")
        for subscriber in board.subscribers:
            relay_one(board, subscriber, server, say, expect)
        too_much(board, server, say, expect)
        neighbours(board, say, expect)
    finally:
        lab.down()


def counters(board):
    return board.call("dra6_get_summed_counters")["counters"]


def show_counters(say, before, after):
    grown = [f"{name} +{now - then}" for name, then, now in zip(COUNTERS, before, after) if now != then]
    say("  Counters of the relay: " + (", ".join(grown) or "unchanged"))


def relay_one(board, subscriber, server, say, expect):
    host = board.subscriber_host(subscriber)
    kind, interface_id = CLIENTS[host.name]
    client, before = kind(host), counters(board)
    mine = ipv6.link_local(host, "eth0")
    say(f"  {client.name} on {host.name} (interface {subscriber.interface} \"{subscriber.interface_name}\") asks for an "
        "address and a prefix.")
    wire = Capture6(host, "eth0")
    client.start()
    address, prefix = client.lease(), client.prefix()
    say("  What the client's port carried:")
    for way, seen in wire.frames():
        if mine in (seen.src_ip, seen.dst_ip):
            say(f"    {describe6(seen)}")
    say(f"  What the server's port carried (VLAN {SUBSCRIBER_VLAN}):")
    relayed = [seen for _, seen in server.frames() if seen.is_relay and seen.peer == mine]
    for seen in relayed:
        say(f"    {describe6(seen)}")
    expect(bool(address) and bool(prefix), f"{host.name} has the address {address} and the prefix {prefix}")
    asked = [seen for seen in relayed if seen.kind == dhcp6.RELAY_FORWARD]
    expect(all(seen.option(dhcp6.INTERFACE_ID) == interface_id for seen in asked),
           f"the server saw the interface id {interface_id.decode()}")
    expect(all(seen.option(dhcp6.REMOTE_ID) == (7731).to_bytes(4, "big") + ipv6.remote_id(subscriber) for seen in asked),
           "and a remote id of enterprise 7731")
    expect(not any(seen.is_relay for way, seen in wire.frames() if way == "in" and seen.dst_ip == mine),
           "no relay-reply reached the client's wire")
    after = counters(board)
    show_counters(say, before, after)
    expect(all(after[number - 1] > before[number - 1] for number in (dhcp6.SOLICIT, dhcp6.REQUEST, dhcp6.RELAY_REPLY)),
           "SOLICIT, REQUEST and the relay-replies were counted")
    client.stop()
    wire.close()


def too_much(board, server, say, expect):
    say("  A Solicit that would not fit into 1500 bytes with its wrapper:")
    before = counters(board)
    large = dhcp6.message(dhcp6.SOLICIT, 0x666666, dhcp6.client_id("02:66:66:66:66:66"), dhcp6.option(16, bytes(1400)))
    Capture6(board.subscriber_host(board.subscribers[0]), "eth0").send(dhcp6.Frame(large, src_mac="02:66:66:66:66:66").encode())
    after = wait_until(lambda: (lambda now: now if now[15] > before[15] else None)(counters(board)), 5,
                       "the discard to be counted")
    show_counters(say, before, after)
    expect(not any(seen.xid == 0x666666 for _, seen in server.frames()), "it was discarded and counted; the server never saw it")


def neighbours(board, say, expect):
    count = lambda: board.call("dra6_ndp_get_summed_counters")["counters"]
    before, far = count(), ipv6.link_local(board.net, f"v{SUBSCRIBER_VLAN}")
    board.lab.host("sub1").run("ping", "-6", "-c", "2", "-W", "2", f"{far}%eth0")
    after = count()
    expect(after[0] > before[0], f"ICMPv6 passes through the daemon: {after[0] - before[0]} frames for a ping of two")
