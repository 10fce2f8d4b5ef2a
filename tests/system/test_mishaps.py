"""What goes down, disappears or dies while the network goes on talking."""
import signal
import time
import unittest

from peers import *  # noqa: F403
from labkit import load  # noqa: E402

RATE = 150 // SLOWNESS  # exchanges that begin in a second, four frames each, none tried twice
PATIENCE = 1.5 * SLOWNESS  # seconds after which one without an answer counts as lost
PROBE_PORT, PROBE_VLAN = "p1", load.FIRST_VLAN


class UnderTraffic(PeerTest):
    """A board with 400 subscribers who come and go all the time."""

    @classmethod
    def make_board(cls, lab):
        return load.LoadBoard(lab, subscribers=400, pon_ports=4, build=BUILD)

    def setUp(self):
        super().setUp()
        self.below = self.wire(self.board.subs, PROBE_PORT)

    # -- traffic -------------------------------------------------------------------------------------------------

    def start_traffic(self, seconds):
        self.board.start_storm("steady", "--rate", RATE, "--exchanges", int(RATE * seconds), "--patience", PATIENCE,
                               limit=seconds + PATIENCE + 5)
        self.addCleanup(self.board.subs.signal, "storm", signal.SIGKILL)
        wait_until(self.relays, 3, "the first relayed request")

    def end_of_traffic(self):
        return wait_until(self.board.storm_report, 30, "the end of the traffic")

    def relays(self):
        """Asks once; whether the request comes to the network with the relay's mark in it."""
        message = self.question(tags=[tag(PROBE_VLAN)])
        try:
            self.below.send(message.encode())
        except OSError:
            return False
        try:
            return self.trunk.wait(by_xid(message.xid, direction="in"), 0.25).giaddr == NODE_IP
        except LabError:
            return False

    def time_to_relay(self, seconds=10):
        began = time.monotonic()
        wait_until(self.relays, seconds, "the relay to work again")
        return time.monotonic() - began

    def assertLossesWithin(self, report, gap):
        """Exchanges were lost that had a frame on its way during the gap, and no others."""
        self.assertEqual(report["begun"], report["bound"] + report["unfinished"])
        self.assertLessEqual(report["unfinished"], RATE * gap + 50)

    # -- what must not happen --------------------------------------------------------------------------------------

    def log_lines(self):
        return services.syslog_text(self.board.olt).splitlines()

    def assertCalm(self, seconds, *, lines, cpu):
        """For some seconds the daemon neither floods the log nor spins."""
        log, used = len(self.log_lines()), self.board.olt.usage("dhcpra").cpu_seconds
        time.sleep(seconds)
        self.assertLessEqual(self.board.olt.usage("dhcpra").cpu_seconds - used, cpu * SLOWNESS)
        said = self.log_lines()[log:]
        self.assertLessEqual(len(said), lines, "\n".join(said[:20]))

    def assertSettled(self):
        """Afterwards it is as before: relaying, quiet, at rest."""
        self.assertTrue(self.relays())
        self.assertCalm(0.5, lines=0, cpu=0.2)

    def link(self, *words, host=None):
        (host or self.board.olt).run("ip", "link", *words)

    # -- links and devices -----------------------------------------------------------------------------------------

    def test_the_pseudo_device_goes_down_and_up(self):
        daemon = self.board.olt.service_pid("dhcpra")
        self.start_traffic(6)
        self.link("set", "br0_dhcp", "down")
        self.assertCalm(2.5, lines=12, cpu=0.15)
        self.assertFalse(self.relays())
        self.link("set", "br0_dhcp", "up")
        gap = 2.75 + self.time_to_relay(3)
        report = self.end_of_traffic()
        self.assertLess(0, report["unfinished"])
        self.assertLossesWithin(report, gap)
        self.assertSettled()
        self.assertEqual(daemon, self.board.olt.service_pid("dhcpra"))

    def test_the_pseudo_device_flaps(self):
        self.start_traffic(4)
        for _ in range(5):
            self.link("set", "br0_dhcp", "down")
            time.sleep(0.05)
            self.link("set", "br0_dhcp", "up")
            self.assertLess(self.time_to_relay(), 0.6 * SLOWNESS)
        self.assertLossesWithin(self.end_of_traffic(), 5 * 0.4 * SLOWNESS)
        self.assertSettled()

    def test_the_pseudo_device_is_deleted_and_made_again(self):
        # The node makes it again as soon as it misses it; the relay finds it at its next look.
        daemon, opened = self.board.olt.service_pid("dhcpra"), self.opened("br0_dhcp")
        self.start_traffic(5)
        for _ in range(3):
            log = len(self.log_lines())
            self.link("del", "br0_dhcp")
            self.assertLess(self.time_to_relay(4), 3 * SLOWNESS)
            self.assertLessEqual(len(self.log_lines()) - log, 10)
        self.assertEqual(opened + 3, self.opened("br0_dhcp"))
        report = self.end_of_traffic()
        self.assertLossesWithin(report, 3 * 1.5 * SLOWNESS)
        self.assertSettled()
        self.assertEqual(daemon, self.board.olt.service_pid("dhcpra"))

    def opened(self, device):
        return next(each["opened"] for each in self.board.node("devices") if each["name"] == device)

    def state_of(self, device):
        return next(each["state"] for each in self.board.node("devices") if each["name"] == device)

    def test_the_uplink_goes_down_and_up(self):
        self.start_traffic(4)
        self.link("set", "up0", "down")
        wait_until(lambda: self.state_of("up0") == "down", 2, "the node to notice")
        self.assertCalm(1, lines=0, cpu=0.5)
        self.assertFalse(self.relays())
        self.link("set", "up0", "up")
        self.assertLess(self.time_to_relay(), SLOWNESS)
        self.assertLossesWithin(self.end_of_traffic(), 2.5 * SLOWNESS)
        self.assertSettled()

    def test_a_subscribers_device_is_taken_out_and_put_in_again(self):
        self.start_traffic(1)
        self.end_of_traffic()
        self.link("del", "p1")
        wait_until(lambda: self.state_of("p1") == "absent", 2, "the node to notice")
        self.board.olt.cable("p1", self.board.subs, "p1", 2000)
        wait_until(lambda: self.state_of("p1") == "up", 3, "the node to open it again")
        self.below = self.wire(self.board.subs, PROBE_PORT)
        self.assertSettled()

    # -- processes -------------------------------------------------------------------------------------------------

    def saved(self):
        """Every setting that the daemon tells."""
        return self.board.ctl("save", "/run/lab/state/saved.conf", "--ids", "0-2000") and \
            (self.board.olt.folder / "saved.conf").read_text()

    def test_the_daemon_is_killed_and_its_configuration_replayed(self):
        gems = [gem for number in range(1, 5) for gem in self.board.gem_ids(number)]
        self.board.options.config = [f"intf_set_remote_id {gem} line-{gem}" for gem in gems] + [
            f"set_vlan_insert_opt82 {PROBE_VLAN} true", f"set_server_vlan {RELAY_SERVER_IP} {PROBE_VLAN} 1",
            "dra6_remoteid_format_set %serial"]
        self.addCleanup(self.board.options.config.clear)
        self.board.configure()
        settings = self.saved()
        self.assertIn(f"line-{gems[-1]}", settings)

        before = self.board.snapshot()
        self.start_traffic(6)
        died = time.monotonic()
        self.board.stop_daemon(signal.SIGKILL)
        self.assertFalse(self.relays())
        restarting = time.monotonic()
        times = self.board.restart_daemon()
        self.time_to_relay()
        now = time.monotonic()
        gap, restart = now - died, now - restarting
        report = self.end_of_traffic()
        lost = load.frames_lost(load.growth(before, self.board.snapshot()), report, {"dropped": 0})
        print(f"\n  after the restart RPC answers in {times['answersAfter']} s, {len(self.board.configuration())} lines are "
              f"replayed after {times['configuredAfter']} s, it relays after {restart:.2f} s; without a daemon for {gap:.2f} s: "
              f"{report['unfinished']} of {report['begun']} exchanges lost, frames lost elsewhere: {lost or 'none'}")
        self.assertEqual(settings, self.saved())
        probe = self.ask(self.below, self.question(tags=[tag(PROBE_VLAN)]))
        self.assertIn(f"line-{gems[0]}".encode(), probe.option(82), "the replayed settings are in force")
        self.assertLess(gap, 5 * SLOWNESS)
        self.assertLess(0, report["unfinished"])
        self.assertLossesWithin(report, gap)
        self.assertEqual({}, lost, "nothing was lost but what found no daemon")
        self.assertSettled()

    def test_the_node_is_restarted_and_the_daemon_after_it(self):
        self.start_traffic(1)
        self.end_of_traffic()
        daemon = self.board.olt.service_pid("dhcpra")
        self.board.olt.signal("vnode", signal.SIGKILL)
        # Its devices went with it; each of the two engines looks for its own seven times in 1.3 s, then once a second.
        self.assertCalm(3, lines=18, cpu=0.15)
        self.assertTrue(self.board.answers())
        self.board.start_vnode(self.board.olt)
        self.assertEqual(daemon, self.board.olt.service_pid("dhcpra"))
        self.board.stop_daemon()
        self.bring_node_up()
        self.board.start_daemon()
        self.board.configure()
        self.time_to_relay()
        self.assertSettled()

    def bring_node_up(self):
        """Address and neighbour of the node's own stack went with the old device."""
        self.board.olt.run("ip", "addr", "replace", f"{NODE_IP}/24", "dev", "mgmt0")
        mac = self.board.net.read("/sys/class/net/trunk0/address").strip()
        self.board.olt.run("ip", "neigh", "replace", RELAY_SERVER_IP, "lladdr", mac, "dev", "mgmt0", "nud", "permanent")


if __name__ == "__main__":
    unittest.main()
