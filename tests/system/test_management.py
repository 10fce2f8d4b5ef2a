"""The real daemon and its management peers: an operator, and some that behave badly."""
import json
import os
import resource
import signal
import socket
import struct
import time
import unittest

from peers import *  # noqa: F403

PROGRAM = 0x20000202
CONNECTIONS = 1000
HALF_A_RECORD = b"\x80\0\0\x40half"


class Management(PeerTest):
    options = {"subscribers": 1, "server": "none"}

    @classmethod
    def setUpClass(cls):
        _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (min(hard, 4096), hard))
        super().setUpClass()
        table = cls.board.olt.run("rpcinfo", "-p", "127.0.0.1").stdout.split("\n")
        cls.port = next(int(row.split()[3]) for row in table if row.split()[:3] == [str(PROGRAM), "1", "tcp"])

    def connection(self):
        with self.board.olt.network():
            peer = socket.create_connection(("127.0.0.1", self.port), timeout=5 * SLOWNESS)
        self.addCleanup(peer.close)
        return peer

    def null_call(self, peer):
        """Whether procedure 0 is answered on this connection (RFC 5531)."""
        call = struct.pack(">10I", 77, 0, 2, PROGRAM, 1, 0, 0, 0, 0, 0)
        try:
            peer.sendall(struct.pack(">I", 0x80000000 | len(call)) + call)
            return peer.recv(4 + 24, socket.MSG_WAITALL) == struct.pack(">7I", 0x80000018, 77, 1, 0, 0, 0, 0)
        except OSError:
            return False

    def assertServed(self):
        for protocol in ("--udp", "--tcp"):
            self.assertEqual(0, self.board.ctl(protocol, "--timeout", "20", "call", "ping", check=False).returncode, protocol)

    def assertRelays(self):
        self.assertEqual(NODE_IP, self.ask(self.subscriber_wire(1), self.question()).giaddr)

    def assertCalm(self, seconds=1.5):
        used = self.board.olt.usage("dhcpra").cpu_seconds
        time.sleep(seconds)
        self.assertLessEqual(self.board.olt.usage("dhcpra").cpu_seconds - used, 0.1 * SLOWNESS)

    def descriptors(self):
        pid = self.board.olt.service_pid("dhcpra")
        return len(list(Path(f"/proc/{pid}/fd").iterdir()))

    def limit_descriptors(self, count):
        """How many the daemon may have from now on; answers how many it might have before."""
        pid = self.board.olt.service_pid("dhcpra")
        before, hard = resource.prlimit(pid, resource.RLIMIT_NOFILE)
        resource.prlimit(pid, resource.RLIMIT_NOFILE, (count, hard))
        return before

    def test_a_thousand_connections_are_opened_and_left(self):
        daemon, before = self.board.olt.service_pid("dhcpra"), self.descriptors()
        steady = self.connection()
        left = []
        for number in range(CONNECTIONS):
            left.append(self.connection())
            if number % 3 == 0:
                left[-1].sendall(HALF_A_RECORD)
            if number % 100 == 99:
                self.assertTrue(self.null_call(steady), "a peer that is not idle keeps its connection")
                self.assertServed()
                self.assertRelays()
        self.assertLess(self.descriptors(), before + 520, "the daemon keeps descriptors for itself")
        self.assertCalm()
        self.assertServed()
        for peer in left:
            peer.close()
        wait_until(lambda: self.descriptors() <= before + 1, 5, "the daemon to close what its peers have closed")
        self.assertTrue(self.null_call(steady))
        self.assertEqual(daemon, self.board.olt.service_pid("dhcpra"))

    def test_without_a_descriptor_newcomers_wait_and_the_others_are_served(self):
        self.in_mode("simplified")  # in Full mode each request needs a socket of its own
        steady = self.connection()
        self.assertTrue(self.null_call(steady))
        usual = self.limit_descriptors(self.descriptors())
        self.addCleanup(self.limit_descriptors, usual)
        newcomer = self.connection()
        self.assertEqual(0, self.board.ctl("--udp", "--timeout", 3 * SLOWNESS, "call", "ping").returncode)
        self.assertTrue(self.null_call(newcomer), "whoever has been idle makes room")
        self.assertFalse(self.null_call(steady))
        newcomer.close()
        self.limit_descriptors(8)
        last = self.connection()
        self.assertCalm()
        self.assertEqual(0, self.board.ctl("--udp", "--timeout", 3 * SLOWNESS, "call", "ping").returncode)
        self.assertIsNotNone(self.ask(self.subscriber_wire(1), self.question()))
        self.limit_descriptors(usual)
        self.assertTrue(self.null_call(last), "it has waited")
        self.assertServed()


class Operator(PeerTest):
    """A person at dhcpractl, with the daemon and both its engines at work."""
    options = {"subscribers": 2, "server": "none"}

    def setUp(self):
        super().setUp()
        self.ID = str(self.board.subscribers[0].interface)

    def say(self, *words, status=0):
        done = self.board.ctl(*words, check=False)
        self.assertEqual(status, done.returncode, f"{words}: {done.stdout[-300:]} {done.stderr[-300:]}")
        return done.stdout if status == 0 else done.stderr

    def file(self, text):
        (self.board.olt.folder / "operator.conf").write_text(text)
        return "/run/lab/state/operator.conf"

    def test_shows_what_moves(self):
        wire, message = self.subscriber_wire(1), self.question()
        self.ask(wire, message)
        self.assertIn(message.chaddr.upper(), self.say("show", "clients"))
        self.board.olt.spawn("watch", "dhcpractl", "--json", "watch", "counters", "--count", "2")
        for _ in range(28):
            self.ask(wire, self.question())
            time.sleep(0.1)
        wait_until(lambda: self.board.olt.service_pid("watch") is None, 5, "the second look")
        looks = [json.loads(line)["counters"] for line in self.board.olt.output("watch").splitlines()]
        self.assertEqual(2, len(looks))
        self.assertGreater(looks[1]["discover"]["total"], looks[0]["discover"]["total"])
        self.assertTrue(4 < looks[1]["discover"]["rate"] < 15, looks)
        self.say("reset", "counters", self.ID)
        self.assertEqual(0, self.counters(self.ID)[DISCOVER])

    def test_a_file_is_applied_up_to_its_first_wrong_line(self):
        self.say("set", "relay", "v6-enabled", "off")
        name = self.file("# comment\nset_sys_name before\nintf_set_mode 99 servers\ndra6_set_enabled on\n")
        self.assertIn(":3: rpc_dra_intf_set_mode answered -1", self.say("apply", name, status=1))
        self.assertFalse(self.board.call("dra6_is_enabled")["value"])
        self.say("apply", "--keep-going", name, status=1)
        self.assertTrue(self.board.call("dra6_is_enabled")["value"])
        self.assertIn(":1: ", self.say("apply", self.file("nonsense 1\n"), status=2))

    def test_what_cannot_be_written_or_read_is_a_failure(self):
        for words in ("save -", "show relay", "--help", "dhcpra call is_enabled"):
            done = self.board.olt.run("sh", "-c", f"dhcpractl {words} > /dev/full", check=False)
            self.assertEqual((2, "dhcpractl: cannot write to standard output\n"), (done.returncode, done.stderr), words)
        self.assertIn("it is a directory", self.say("apply", "/run/lab/state", status=2))

    def test_an_interrupted_save_leaves_no_file(self):
        daemon = self.board.olt.service_pid("dhcpra")
        for number in (signal.SIGTERM, signal.SIGINT):
            os.kill(daemon, signal.SIGSTOP)
            self.addCleanup(os.kill, daemon, signal.SIGCONT)
            self.board.olt.spawn("save", "dhcpractl", "save", "/run/lab/state/saved.conf")
            time.sleep(0.5)
            os.kill(self.board.olt.service_pid("save"), number)
            os.kill(daemon, signal.SIGCONT)  # the RPC library keeps signals back while a call is under way
            wait_until(lambda: self.board.olt.service_pid("save") is None, 5, "the end of the interrupted save")
            self.assertEqual([], list(self.board.olt.folder.glob("saved.conf*")))

    def test_exit_statuses(self):
        self.say("call", "ping")
        self.say("call", "intf_get_mode", "99", status=1)
        self.say("show", "nothing", status=2)
        self.say("--port", "1", "call", "ping", status=3)


if __name__ == "__main__":
    unittest.main()
