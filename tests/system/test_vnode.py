"""Node files that are refused, and labs that stand beside each other and leave nothing behind."""
import os
import signal
import subprocess
import tempfile
import time
import unittest

from support import *  # noqa: F403

LAB_TOOL = str(TOP / "lab" / "olt")


class NodeFiles(unittest.TestCase):
    def test_a_bad_one_is_refused_with_file_line_and_reason(self):
        vnode = next(path for path in sorted(Path(BUILD).resolve().rglob("vnode")) if path.is_file())
        with tempfile.TemporaryDirectory() as folder:
            file, control = Path(folder) / "node.xml", Path(folder) / "vnode.sock"
            for text, words, answer in (
                    ("<node>\n<vlan id='1'>\n</node>\n", [], (1, "", f"{file}:3: Opening and ending tag mismatch: "
                                                                  "vlan line 2 and node\n")),
                    ("<node>\n<vlan id='1' nmae='x'/></node>\n", ["--check"], (1, "", f'{file}:2: <vlan> knows no "nmae"\n')),
                    ("<node/>", ["--check"], (0, f"{file}: good, 0 interfaces, 0 VLANs, 0 ports\n", ""))):
                file.write_text(text)
                done = subprocess.run([vnode, "--socket", control, *words, file], capture_output=True, text=True, timeout=10)
                self.assertEqual(answer, (done.returncode, done.stdout, done.stderr))
                self.assertFalse(control.exists())


def namespaces_of(lab):
    """Process namespaces of the lab's hosts, by their holders."""
    found = set()
    for folder in Path("/proc").glob("[0-9]*"):
        try:
            words = (folder / "cmdline").read_bytes().split(b"\0")
            if any(word.startswith(f"{lab}/".encode()) for word in words):
                found.add(os.readlink(folder / "ns" / "pid"))
        except OSError:
            continue
    return found - {os.readlink("/proc/self/ns/pid")}


def processes_in(namespaces):
    found = []
    for folder in Path("/proc").glob("[0-9]*"):
        try:
            if os.readlink(folder / "ns" / "pid") in namespaces:
                found.append((folder / "cmdline").read_bytes())
        except OSError:
            continue
    return found


class Labs(unittest.TestCase):
    def setUp(self):
        self.names = [f"test-{os.getpid()}-{letter}" for letter in "ab"]
        self.devices = self.machine_devices()
        for name in self.names:
            self.addCleanup(Lab(name).down)

    @staticmethod
    def machine_devices():
        return subprocess.run(["ip", "-br", "link"], capture_output=True, text=True, check=True).stdout

    def olt(self, name, *words):
        return subprocess.run([LAB_TOOL, "--name", name, *words], capture_output=True, text=True, timeout=60)

    def up(self, name):
        return ["up", "--subscribers", "1", "--server", "none", "--build", BUILD]

    def bring_up(self, name):
        done = self.olt(name, *self.up(name))
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def assertDown(self, name, namespaces):
        done = self.olt(name, "down")
        self.assertEqual((0, "", ""), (done.returncode, done.stdout, done.stderr))
        wait_until(lambda: not processes_in(namespaces), 5, "the hosts' processes to end")
        self.assertEqual(set(), namespaces_of(name))
        self.assertFalse(Lab(name).folder.exists())
        self.assertEqual(self.devices, self.machine_devices())
        self.assertEqual(1, self.olt(name, "status").returncode)

    def assertRelays(self, name):
        board, xid = Board(Lab(name)), int.from_bytes(os.urandom(4), "big")
        wire, server = Capture(board.lab.host("sub1"), "eth0"), Capture(board.net, f"v{NODE_VLAN}")
        self.addCleanup(wire.close)
        self.addCleanup(server.close)
        wire.send(dhcp.Message(chaddr="02:00:00:00:1a:b0", xid=xid).encode())
        server.wait(lambda _, seen: seen.xid == xid)
        return server

    def test_down_leaves_nothing_after_up_was_killed(self):
        name = self.names[0]
        for seconds in (0.1, 0.25, 0.5, 0.8):
            with self.subTest(seconds=seconds):
                coming = subprocess.Popen([LAB_TOOL, "--name", name, *self.up(name)], stdout=subprocess.DEVNULL,
                                          stderr=subprocess.DEVNULL)
                time.sleep(seconds)
                coming.kill()
                coming.wait()
                self.assertDown(name, namespaces_of(name))

    def test_two_stand_beside_each_other_and_leave_nothing_after_a_crash(self):
        name, other = self.names
        for each in self.names:
            self.bring_up(each)
        servers = [self.assertRelays(each) for each in self.names]
        self.assertEqual([1, 1], [len(server.frames()) for server in servers], "each saw its own frame only")
        before = namespaces_of(name)
        Lab(name).host("olt").stop()
        self.bring_up(name)
        wait_until(lambda: not processes_in(before), 5, "the old hosts' processes to end")
        self.assertRelays(name)
        lab, namespaces = Lab(name), namespaces_of(name)
        self.assertEqual(3, len(namespaces))
        for service in ("vnode", "dhcpra"):
            lab.host("olt").signal(service, signal.SIGKILL)
        lab.host("sub1").stop()
        # What is known about the others is lost.
        subprocess.run(["rm", "-rf", str(lab.folder)], check=True)
        self.assertDown(name, namespaces)
        self.assertRelays(other)
        self.assertDown(other, namespaces_of(other))


if __name__ == "__main__":
    unittest.main()
