#!/usr/bin/python3
"""The restart storm and the soak, at full size: a board of its own, subscribers, a fast server, and an account of it all.

    lab/storm/run.py                                        16,000 subscribers behind 64 PON ports boot within a second
    lab/storm/run.py --mode simplified
    lab/storm/run.py --stall 3                              the daemon stands still meanwhile, for three seconds
    lab/storm/run.py --steady 4000 --exchanges 250000 --mishaps 0.02
    lab/storm/run.py --steady 1000 --exchanges 10000 --restart 3

Needs root and a build with dhcpra, vnode, storm and quickdhcpd. Sends only inside namespaces of its own.
"""
import argparse
import json
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from labkit import load  # noqa: E402
from labkit.board import Options  # noqa: E402
from labkit.hosts import Lab, LabError  # noqa: E402


def arguments():
    parser = argparse.ArgumentParser(prog="lab/storm/run.py", description=__doc__,
                                     formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--subscribers", type=int, default=16000)
    parser.add_argument("--pon-ports", type=int, default=64)
    parser.add_argument("--mode", choices=("full", "simplified"), default="full")
    parser.add_argument("--window", type=float, default=1.0, help="seconds within which they boot")
    parser.add_argument("--steady", type=float, metavar="RATE", help="instead: this many exchanges begin a second")
    parser.add_argument("--exchanges", type=int, default=250000, help="with --steady: how many in all")
    parser.add_argument("--mishaps", type=float, default=0.0, help="with --steady: bad frames for each exchange")
    parser.add_argument("--stall", type=float, default=0.0, metavar="SECONDS",
                        help="how long the daemon stands still at first")
    parser.add_argument("--restart", type=float, default=0.0, metavar="SECONDS",
                        help="when the daemon is killed, started and configured again")
    parser.add_argument("--sample", type=float, default=10.0, metavar="SECONDS", help="how often to look at memory")
    parser.add_argument("--limit", type=float, help="seconds after which to end in any case")
    parser.add_argument("--build", default=Options.build, metavar="FOLDER")
    parser.add_argument("--name", default="storm", help="name of the lab")
    parser.add_argument("--json", action="store_true", help="one JSON object instead of a table")
    return parser.parse_args()


def storm_words(chosen):
    if chosen.steady:
        words = ["steady", "--rate", chosen.steady, "--exchanges", chosen.exchanges, "--mishaps", chosen.mishaps]
        return words, chosen.limit or 2 * chosen.exchanges / chosen.steady + 30
    return ["boot", "--window", chosen.window], chosen.limit or 120


def rows(report):
    storm, memory = report["storm"], report["memory"]
    yield "mode", f"{report['mode']}, {report['subscribers']} subscribers, {report['ponPorts']} PON ports"
    yield "exchanges begun, bound", f"{storm['begun']}, {storm['bound']}"
    yield "exchanges lost", storm["unfinished"]
    yield "seconds to the last ACK", storm["last_ack_s"]
    yield "exchange, median and 99 %", f"{storm['exchange_p50_ms']} ms, {storm['exchange_p99_ms']} ms"
    if "restart" in report:
        restart = report["restart"]
        yield "daemon's restart", f"answers after {restart['answersAfter']} s, configured after {restart['configuredAfter']} s"
    yield "retransmissions", storm["retransmitted"]
    yield "frames sent, received", f"{storm['sent']}, {storm['received']}"
    yield "mishaps", storm["mishaps"]
    yield "replies at a wrong port", storm["foreign"]
    yield "frames lost", ", ".join(f"{where} {count}" for where, count in report["framesLost"].items()) or "none"
    yield "relay counted", ", ".join(f"{name} {count}" for name, count in report["relay"].items())
    yield "CPU seconds", ", ".join(f"{name} {seconds}" for name, seconds in report["cpuSeconds"].items())
    yield "log lines", report["logLines"]
    yield "daemon's memory in kB", " ".join(str(sample["dhcpraKb"]) for sample in memory)


def main():
    chosen = arguments()
    words, limit = storm_words(chosen)
    board = load.LoadBoard(Lab(chosen.name), subscribers=chosen.subscribers, pon_ports=chosen.pon_ports, mode=chosen.mode,
                           build=chosen.build)
    try:
        board.up()
        report = load.run(board, words, limit=limit, sample_seconds=chosen.sample,
                          mishap=load.Mishap(chosen.stall, chosen.restart))
    finally:
        board.lab.down()
    if chosen.json:
        print(json.dumps(report, indent=1))
    else:
        for name, value in rows(report):
            print(f"{name:28} {value}")
    return 0 if report["storm"]["unfinished"] == 0 else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except LabError as error:
        print(f"lab/storm/run.py: {error}", file=sys.stderr)
        sys.exit(2)
