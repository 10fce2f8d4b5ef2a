#!/usr/bin/python3
"""What a burst of DHCPv6 Solicits loses, and where: bench/burst6.py [FRAMES ...], with DHCPRA_BUILD as the build folder.

Frames are lost behind the virtual node only: in the receive buffer of the daemon's socket, which holds about ten seconds of
its own rate of 320 frames a second, as the kernel accounts them.
"""
import os
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "lab"))
from labkit import dhcp6, ipv6  # noqa: E402
from labkit.board import SUBSCRIBER_VLAN, Board, Options  # noqa: E402
from labkit.hosts import Lab  # noqa: E402
from labkit.ipv6 import Capture6  # noqa: E402


def socket_drops(board):
    """Of the daemon's packet sockets, as the kernel counts them."""
    text = board.olt.run("ss", "-0", "-a", "-m", check=False).stdout
    return sum(int(word.rstrip(")").split(",d")[-1]) for line in text.splitlines() for word in line.split() if ",d" in word)


def burst(board, port, frames):
    count = lambda: board.call("dra6_get_summed_counters")["counters"][0]
    before, lost_before = count(), socket_drops(board)
    start = time.monotonic()
    for number in range(frames):
        mac = f"02:0b:00:{number >> 16 & 255:02x}:{number >> 8 & 255:02x}:{number & 255:02x}"
        port.send(dhcp6.Frame(dhcp6.message(dhcp6.SOLICIT, number, dhcp6.client_id(mac)), src_mac=mac).encode())
    sent = time.monotonic() - start
    seen, still = count(), time.monotonic()
    while time.monotonic() - still < 1.5:
        time.sleep(0.1)
        now = count()
        if now != seen:
            seen, still = now, time.monotonic()
    took = still - start
    handled = seen - before
    print(f"{frames} Solicits in {sent:.2f} s: {handled} relayed in {took:.2f} s ({handled / took:.0f} a second, "
          f"{handled / took / 3.2:.0f} % of the limit), {frames - handled} lost, "
          f"{socket_drops(board) - lost_before} of them in the daemon's socket")


def main():
    lab = Lab("burst6")
    board = Board(lab, Options(mode="simplified", server="none", build=os.environ.get("DHCPRA_BUILD", Options.build)))
    try:
        board.up()
        board.apply(ipv6.configuration(board, board.uplink, SUBSCRIBER_VLAN))
        port = Capture6(board.lab.host("sub1"), "eth0")
        for frames in map(int, sys.argv[1:] or ["2000", "6000"]):
            burst(board, port, frames)
    finally:
        lab.down()


if __name__ == "__main__":
    main()
