"""Management peers that behave badly, and what all others still get from the real daemon."""
import resource
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
            peer = socket.create_connection(("127.0.0.1", self.port), timeout=5)
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
            self.assertEqual(0, self.board.ctl(protocol, "--timeout", "3", "call", "ping", check=False).returncode, protocol)

    def assertRelays(self):
        self.assertEqual(NODE_IP, self.ask(self.subscriber_wire(1), self.question()).giaddr)

    def assertCalm(self, seconds=1.5):
        used = self.board.olt.usage("dhcpra").cpu_seconds
        time.sleep(seconds)
        self.assertLessEqual(self.board.olt.usage("dhcpra").cpu_seconds - used, 0.1)

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
        self.assertEqual(0, self.board.ctl("--udp", "--timeout", "3", "call", "ping").returncode)
        self.assertTrue(self.null_call(newcomer), "whoever has been idle makes room")
        self.assertFalse(self.null_call(steady))
        newcomer.close()
        self.limit_descriptors(8)
        last = self.connection()
        self.assertCalm()
        self.assertEqual(0, self.board.ctl("--udp", "--timeout", "3", "call", "ping").returncode)
        self.assertIsNotNone(self.ask(self.subscriber_wire(1), self.question()))
        self.limit_descriptors(usual)
        self.assertTrue(self.null_call(last), "it has waited")
        self.assertServed()


if __name__ == "__main__":
    unittest.main()
