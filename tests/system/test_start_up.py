"""How the daemon starts, goes on and ends when things around it are missing."""
import signal
import unittest

from support import *  # noqa: F403


class StartUp(BoardTest):
    options = {"subscribers": 1, "server": "none"}

    def test_the_daemon_relays_again_after_a_kill_and_a_replay(self):
        self.board.stop_daemon(signal.SIGKILL)
        self.board.start_daemon()
        self.assertEqual(0, self.board.call("is_enabled")["value"], "a fresh daemon knows no configuration")
        self.board.configure()
        wire, server = self.subscriber_wire(1), self.server_wire(NODE_VLAN)
        wire.send(dhcp.Message(chaddr="02:00:00:00:0a:01", xid=0xA001).encode())
        server.wait(by_xid(0xA001, dhcp.DISCOVER, "in"))

    def test_sigterm_ends_it_at_once_by_its_default_action(self):
        self.board.stop_daemon(signal.SIGTERM)
        self.assertIsNone(self.board.olt.service_pid("dhcpra"))
        self.board.start_daemon()
        self.board.configure()


class WithoutPortMapper(BoardTest):
    options = {"subscribers": 1, "server": "none"}

    def test_it_starts_and_says_so(self):
        self.board.stop_daemon(signal.SIGKILL)
        self.board.olt.signal("rpcbind", signal.SIGKILL)
        before = len(self.board.olt.output("dhcpra"))
        self.board.olt.spawn("dhcpra", "dhcpra")
        for text in ("Starting main RPC loop - custom made.", "Cannot register UDP RPC service 0x20000202",
                     "Cannot register TCP RPC service 0x20000202"):
            wait_until(lambda text=text: text in self.board.olt.output("dhcpra")[before:], 60, text)
        self.assertIsNotNone(self.board.olt.service_pid("dhcpra"))


class WithoutBoardTable(BoardTest):
    options = {"subscribers": 1, "server": "none"}

    def test_it_starts_and_serves_although_nothing_is_registered(self):
        self.board.stop_daemon(signal.SIGKILL)
        self.board.olt.run("rm", "/tmp/get_board_id")
        self.board.start_daemon()
        log = services.syslog_text(self.board.olt)
        self.assertIn("BLLManager, Can not find board description, open file </tmp/get_board_id> failed.", log)
        self.assertIn("BLLManager, Can not load bll configuration from XML.", log)
        self.board.configure()
        wire, server = self.subscriber_wire(1), self.server_wire(NODE_VLAN)
        wire.send(dhcp.Message(chaddr="02:00:00:00:0b:01", xid=0xB001).encode())
        server.wait(by_xid(0xB001, dhcp.DISCOVER, "in"))


if __name__ == "__main__":
    unittest.main()
