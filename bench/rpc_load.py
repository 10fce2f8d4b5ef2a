#!/usr/bin/python3
"""Management calls a second while frames are relayed, and what they cost the relay.

    bench/rpc_load.py [--build FOLDER] [--mode full|simplified] [--rate EXCHANGES] [--seconds S] [--rounds N]

A board under load (see lab/storm/run.py) relays all the time. In turns nobody calls, or one peer calls a getter, a setter or a
list as fast as it is answered (rpc_load, over UDP and over TCP). Printed: calls a second, frames a second that the daemon takes
from its pseudo device meanwhile, and their ratio to the turns before and after, when nobody calls. Medians of the rounds.
Needs root and a build of the preset release.
"""
import argparse
import json
import os
import statistics
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "lab"))
from labkit import load  # noqa: E402
from labkit.board import TOP  # noqa: E402
from labkit.hosts import Lab, LabError, wait_until  # noqa: E402

VLANS = 4094
FIT_IN_A_DATAGRAM = 8       # records of 1,044 bytes in the 8,800 that the library allows
LONG, SHORT = 1, 2          # interfaces of ONUs
CALLS = [("getter, UDP", ("udp", "getter")), ("getter, TCP", ("tcp", "getter")),
         ("setter, UDP", ("udp", "setter")), ("setter, TCP", ("tcp", "setter")),
         (f"list of {FIT_IN_A_DATAGRAM} records, UDP", ("udp", "list", SHORT)),
         (f"list of {FIT_IN_A_DATAGRAM} records, TCP", ("tcp", "list", SHORT)),
         (f"list of {VLANS:,} records, TCP", ("tcp", "list", LONG))]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--build", default=str(TOP / "build" / "release"), metavar="FOLDER")
    parser.add_argument("--mode", choices=("full", "simplified"), default="full")
    parser.add_argument("--rate", type=float, default=20000, metavar="EXCHANGES", help="begun a second (four frames each)")
    parser.add_argument("--seconds", type=float, default=2.0, help="length of a turn")
    parser.add_argument("--rounds", type=int, default=3)
    return parser.parse_args()


def frames(board):
    """Frames that the daemon has been given so far."""
    return int(board.olt.read("/sys/class/net/br0_dhcp/statistics/rx_packets"))


def turn(board, seconds, words=None):
    """Calls a second and frames a second."""
    before, began = frames(board), time.monotonic()
    calls = 0.0
    if words:
        way, kind, *interface = words
        done = json.loads(board.olt.run("rpc_load", way, kind, seconds, *interface).stdout)
        calls = done["calls"] / done["seconds"]
    else:
        time.sleep(seconds)
    return calls, (frames(board) - before) / (time.monotonic() - began)


def measure(board, chosen):
    found = {name: [] for name, _ in CALLS}
    for _ in range(chosen.rounds):
        _, quiet = turn(board, chosen.seconds)
        for name, words in CALLS:
            calls, loaded = turn(board, chosen.seconds, words)
            before, (_, quiet) = quiet, turn(board, chosen.seconds)
            found[name].append((calls, loaded, (before + quiet) / 2))
    return found


def report(found, chosen):
    print(f"{chosen.mode} mode, {chosen.rate:.0f} exchanges begun a second, load average {os.getloadavg()[0]:.1f}")
    print(f"{'':32} {'calls/s':>9} {'frames/s':>10} {'without':>10} {'ratio':>7}")
    for name, samples in found.items():
        calls, loaded, quiet = (statistics.median(column) for column in zip(*samples))
        ratio = statistics.median(each[1] / each[2] for each in samples)
        print(f"{name:32} {calls:9.0f} {loaded:10.0f} {quiet:10.0f} {ratio:7.2f}")


def main():
    chosen = arguments()
    board = load.LoadBoard(Lab(f"rpc-load-{os.getpid()}"), subscribers=4000, pon_ports=16, mode=chosen.mode, build=chosen.build)
    try:
        board.up()
        board.apply([f"cid_mode_intf_vlan_set {interface} {vlan} standard" for interface, last in ((LONG, VLANS), (SHORT, FIT_IN_A_DATAGRAM))
                     for vlan in range(1, last + 1)])
        seconds = chosen.rounds * chosen.seconds * (2 * len(CALLS) + 1) * 1.5 + 10
        board.start_storm("steady", "--rate", chosen.rate, "--exchanges", int(chosen.rate * seconds), limit=seconds)
        wait_until(lambda: frames(board) > 1000, 5, "the first frames")
        time.sleep(1)
        report(measure(board, chosen), chosen)
    finally:
        board.lab.down()


if __name__ == "__main__":
    try:
        main()
    except LabError as error:
        sys.exit(f"bench/rpc_load.py: {error}")
