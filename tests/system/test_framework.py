"""What an operator can rely on when something goes wrong inside the daemon: stalls, crashes, debug words."""
import re
import signal
import unittest

from support import *  # noqa: F403

STALLED = {"deadlockThread1", "deadlockThread2"}


class Framework(BoardTest):
    options = {"subscribers": 1, "server": "none"}

    def setUp(self):
        self.read_so_far = len(self.board.olt.output("dhcpra"))

    def said(self):
        """What the daemon and its reporter have said since the test began."""
        return self.board.olt.output("dhcpra")[self.read_so_far:]

    def ask(self, key, value):
        """The manager's answer to a debug word."""
        self.board.olt.write("/tmp/answer", "")
        self.board.call("ext_message_dhcpr", key, value, "/tmp/answer")
        return self.board.olt.read("/tmp/answer")

    def answers_within(self, seconds):
        return self.board.ctl("--timeout", seconds, "call", "ping", check=False).returncode == 0

    def names_in(self, table):
        """The names of threads in the answer to "threads" or "lockHolders"."""
        return {row.split(" | ")[-1] for row in self.ask(table, "show").splitlines() if re.search(r"\| 0x\w+ \| ", row)}

    def assertRelays(self, xid, within=5):
        wire, server = self.subscriber_wire(1), self.server_wire(NODE_VLAN)
        wire.send(dhcp.Message(chaddr="02:00:00:00:0c:01", xid=xid).encode())
        server.wait(by_xid(xid, dhcp.DISCOVER, "in"), within)

    def functions_in(self, backtrace):
        """Names of the daemon's own functions in a backtrace; those that no other file sees come as offsets."""
        offsets = re.findall(r"dhcpra\(\+(0x[0-9a-f]+)\)", backtrace)
        self.assertTrue(offsets, backtrace)
        return self.board.olt.run("addr2line", "-Cfe", self.board.program("dhcpra"), *offsets).stdout.splitlines()[::2]

    def test_two_stalled_threads_are_reported_by_name_and_backtrace_and_the_relay_goes_on(self):
        self.assertEqual("Deadlock test started.\n", self.ask("deadlocktest", "start"))
        self.addCleanup(self.ask, "deadlocktest", "stop")
        self.ask("lockingPeriod", "1")
        self.board.call("ext_message", "dhcpraSimulateDeadlock", "", "")
        wait_until(lambda: self.names_in("lockHolders") == STALLED, 3, "both threads to hold the lock")

        # The frame's turn asks for the exclusive lock, gives up after the period, and goes on without.
        self.assertRelays(0xDEAD0001)
        report = wait_until(lambda: self.said() if self.said().count("\nBacktrace:\n") >= 2 else "", 10, "both backtraces")
        self.assertRegex(report, r"\n\*\*\* LOCK EXCEPTION: \[dhcpra_processFrame; 0x\w+; \d+; 0x\w+\] "
                                 r"failed to get exclusive lock\.\nDump of exclusive/shared lock holders")
        rows = dict(re.findall(r"\| +1 \| +0 \| +\| +0x\w+ \| +(\d+) \| +0x\w+ \| (\w+)\n", report))
        self.assertEqual(STALLED, set(rows.values()))
        for thread in rows:
            self.assertRegex(report, rf"\nError: thread {thread} is holding a lock for too long \(\d+ seconds\)\. "
                                     r"Dumping the thread's backtrace\.\.\.\n")
        backtraces = report.split("\nBacktrace:\n")[1:3]
        for backtrace in backtraces:
            self.assertIn("(anonymous namespace)::stall(char const*)", self.functions_in(backtrace))
        self.assertIn("Memory map dumped to file: /var/log/dhcpraLastMemap.log", report)
        log = services.syslog_text(self.board.olt)
        self.assertRegex(log, r"local1\.crit BLL\[\d+\]: \[\d+\] \*\*\* LOCK EXCEPTION: \[dhcpra_processFrame; ")
        self.assertRegex(log, r"user\.err \[dbg dhcpra\]: Backtrace:")

        # Nobody stalls for good: a reader that waits for its upgrade no longer counts as a reader, so the other one
        # gets through, and when that one leaves the first does too.
        wait_until(lambda: not STALLED & self.names_in("threads"), 15, "the stalled threads to end")
        self.assertEqual(set(), self.names_in("lockHolders"))
        upgrading = re.findall(r"^ *0x\w+ \| +\d+ \| +0x\w+ \| (\w+)$", self.said(), re.MULTILINE)
        self.assertEqual(STALLED, set(upgrading), "the deadlock test shows who is about to upgrade")
        self.assertRelays(0xDEAD0002)
        self.assertEqual(1, self.said().count("*** LOCK EXCEPTION"))
        self.assertNotIn("ERROR: The same lock exception is still active.", services.syslog_text(self.board.olt))

    def test_a_crash_leaves_a_report_and_the_restarted_daemon_relays(self):
        self.board.stop_daemon(signal.SIGSEGV)
        report = wait_until(lambda: self.said() if "\nMemory map:\n" in self.said() else "", 10, "the crash report")
        self.assertIn("\nFatal signal received: 11: Segmentation fault\nFault address: 0\n\nBacktrace:\n", report)
        self.assertRegex(report, r"dhcpra\(selfDebuggerSignalHandler\(int, siginfo_t\*, void\*\)\+0x")
        self.assertRegex(report, r"dhcpra\(main\+0x", "a signal to the process meets the main thread, asleep")
        self.assertRegex(report, r"r-xp [^\n]*/dhcpra\n", "the map goes with the report")
        log = services.syslog_text(self.board.olt)
        self.assertIn("user.err [dbg dhcpra]: Fatal signal received: 11: Segmentation fault", log)
        self.board.start_daemon()
        self.board.configure()
        self.assertRelays(0x5E6F)

    def test_without_a_board_name_it_starts_and_serves_although_nothing_is_registered(self):
        board_name = self.board.olt.read("/tmp/get_board_id")
        self.addCleanup(self.board.olt.write, "/tmp/get_board_id", board_name)
        self.board.stop_daemon(signal.SIGKILL)
        self.board.olt.run("rm", "/tmp/get_board_id")
        self.board.start_daemon()
        log = services.syslog_text(self.board.olt)
        self.assertIn("BLLManager, Can not find board description, open file </tmp/get_board_id> failed.", log)
        self.assertIn("BLLManager, Can not load bll configuration from XML.", log)
        self.board.configure()
        self.assertRelays(0xB001)

    def test_a_debug_word_that_cannot_be_understood_or_answered_is_only_logged(self):
        self.assertEqual("", self.ask("lockingPeriod", "soon"))
        self.board.call("ext_message_dhcpr", "threads", "show", "/tmp/absent/terminal")
        log = services.syslog_text(self.board.olt)
        self.assertIn("Debug word lockingPeriod failed: stoi", log)
        self.assertIn("Error opening tty file for writing: /tmp/absent/terminal", log)
        self.assertTrue(self.board.answers())

    def test_a_log_daemon_that_stops_reading_stops_neither_frames_nor_lines(self):
        words = 40  # more lines than the socket of a log daemon holds
        self.board.olt.signal("syslogd", signal.SIGSTOP, wait=False)
        self.addCleanup(self.board.olt.signal, "syslogd", signal.SIGCONT, wait=False)
        self.board.olt.spawn("words", "sh", "-c", f"for n in $(seq {words}); do "
                             "dhcpractl call ext_message_dhcpr lockDebug wrong-$n- ''; done")
        wait_until(lambda: not self.answers_within(1), 10, "the RPC thread to wait for the log")
        self.assertRelays(0x5106)
        self.board.olt.signal("syslogd", signal.SIGCONT, wait=False)
        line = "BLL Manager has received the message <lockDebug> with wrong value <wrong-{}->."
        wait_until(lambda: line.format(words) in services.syslog_text(self.board.olt), 20, "the last line")
        arrived = re.findall(r"] Warning: (.*wrong-.*)", services.syslog_text(self.board.olt))
        self.assertEqual([line.format(number + 1) for number in range(words)], arrived)


if __name__ == "__main__":
    unittest.main()
