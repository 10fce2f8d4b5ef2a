"""What the system tests share: a board brought up once per class, raw peers on its wires, waits that end."""
import os
import sys
import time
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(TOP / "lab"))
from labkit import dhcp, sanitizers, services  # noqa: E402
from labkit.board import (NODE_IP, NODE_MAC, NODE_VLAN, RELAY_SERVER_IP, SUBSCRIBER_SERVER_IP,  # noqa: E402
                          SUBSCRIBER_VLAN, Board, Options, ip_number)
from labkit.hosts import Lab, LabError, wait_until  # noqa: E402
from labkit.services import Capture, Dhclient, Udhcpc  # noqa: E402

# The programs under test. Of a build with sanitizers, a report of any program fails the class that caused it.
BUILD = os.environ.get("DHCPRA_BUILD", str(TOP / "build" / "dev"))
SLOWNESS = sanitizers.slowness(BUILD)   # factor for limits of time; 1 for a plain build

(DISCOVER, REQUEST, OFFER, ACK, DECLINE, NAK, RELEASE, INFORM, DISCARD_OPT82, DISCARD_GIADDR, DISCARD_BOTH,
 DISCARD_INVALID, DISCARD_REACTION, OPT82_NO_ROOM, DISCARD_OTHER) = range(15)

SETTLE = 0.5 * SLOWNESS  # seconds after which a frame that has not come will not come


class BoardTest(unittest.TestCase):
    """A board per class; options says how it is brought up."""
    options = {}

    @classmethod
    def setUpClass(cls):
        cls.board = cls.make_board(Lab(f"test-{os.getpid()}"))
        cls.addClassCleanup(cls.board.lab.down)
        cls.board.up()

    @classmethod
    def make_board(cls, lab):
        return Board(lab, Options(build=BUILD, **cls.options))

    def tearDown(self):
        outcome = self._outcome.result
        if any(case is self for case, _ in outcome.failures + outcome.errors):
            log = services.syslog_text(self.board.olt).splitlines()[-20:]
            print("\n".join(["", "-- the board's log:", *log, "-- the daemon:", self.board.olt.output("dhcpra")[-800:]]))

    # -- peers --------------------------------------------------------------------------------------------------

    def wire(self, host, device="eth0"):
        """A raw peer on a device, closed with the test."""
        capture = Capture(host, device)
        self.addCleanup(capture.close)
        return capture

    def subscriber_wire(self, number):
        return self.wire(self.board.lab.host(f"sub{number}"))

    def server_wire(self, vlan):
        return self.wire(self.board.net, f"v{vlan}")

    def client(self, kind, number):
        client = kind(self.board.lab.host(f"sub{number}"))
        self.addCleanup(self._end_client, client)
        return client

    @staticmethod
    def _end_client(client):
        client.stop()
        client.host.run("ip", "addr", "flush", "dev", client.device)

    # -- the daemon ---------------------------------------------------------------------------------------------

    def counters(self, interface=None):
        if interface is None:
            return self.board.call("get_summed_counters")["counters"]
        return self.board.call("intf_get_all_counters", interface)["counters"]

    def assertCounts(self, before, interface=None, **grown):
        """Exactly these counters have grown since before, by these amounts; names as above in lower case."""
        wanted = {globals()[name.upper()]: by for name, by in grown.items()}

        def differences():
            now = self.counters(interface)
            return {index: now[index] - before[index] for index in range(len(now)) if now[index] != before[index]}
        try:
            wait_until(lambda: differences() == wanted, 3, "the counters")
        except LabError:
            self.assertEqual(wanted, differences(), "growth of the counters by index")

    def with_setting(self, change, undo):
        """Applies configuration lines now and others when the test is over."""
        self.board.apply(change)
        self.addCleanup(self.board.apply, undo)

    # -- frames -------------------------------------------------------------------------------------------------

    def assertNothing(self, wire, wanted):
        """No frame for which wanted(seen) holds comes within the settling time."""
        time.sleep(SETTLE)
        self.assertEqual([], [seen for _, seen in wire.frames() if wanted(seen)])


def by_xid(xid, kind=None, direction=None):
    return lambda way, seen: seen.xid == xid and kind in (None, seen.kind) and direction in (None, way)
