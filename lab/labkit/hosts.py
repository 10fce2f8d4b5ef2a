"""A lab host: its own network, mount, host-name and process namespace, held by one process.

Killing the holder kills every process of the host and with them its devices: nothing can be left behind.
A host sees private /run, /tmp, /opt, /dev, /var/log and /var/lib; the folders that programs of the lab need
are bound below /run/lab before the private ones cover them.
"""
import contextlib
import ctypes
import os
import signal
import subprocess
import time
from pathlib import Path
from typing import NamedTuple

from . import sanitizers

STATE_ROOT = Path("/run/dhcpra-lab")
HOLDER_MARK = "dhcpra-lab-holder"
_CLONE_NEWNET = 0x40000000
_detached = []  # processes that may outlive this one on purpose; kept so that nobody waits for them or complains
# Programs under test are linked into this folder of each host, see Board.
ENVIRONMENT = {**os.environ, **sanitizers.ENVIRONMENT,
               "PATH": "/run/lab/bin:" + os.environ.get("PATH", "/usr/bin:/bin") + ":/usr/sbin:/sbin"}

# Runs as process 1 of the host. Arguments: mark, lab/host, host name, then SOURCE:NAME pairs to bind below /run/lab.
_HOLDER_SCRIPT = r"""
set -e
hostname "$2"; shift 2
mount -t tmpfs -o mode=755 tmpfs /mnt
mkdir -p /mnt/lab/bin /mnt/lock /mnt/mount
for pair in "$@"; do
    mkdir -p "/mnt/lab/${pair##*:}"
    mount --bind "${pair%:*}" "/mnt/lab/${pair##*:}"
done
mkdir /mnt/dev
mount -t tmpfs -o mode=755 tmpfs /mnt/dev
mkdir /mnt/dev/net /mnt/dev/pts /mnt/dev/shm
for node in null zero full random urandom tty net/tun; do
    touch "/mnt/dev/$node" && mount --bind "/dev/$node" "/mnt/dev/$node"
done
mount -t devpts -o newinstance,ptmxmode=0666 devpts /mnt/dev/pts
ln -s pts/ptmx /mnt/dev/ptmx
ln -s /proc/self/fd /mnt/dev/fd
mount --move /mnt/dev /dev
mount -n --move /mnt /run
for folder in /tmp /opt /var/log /var/lib; do mount -t tmpfs -o mode=1777 tmpfs "$folder"; done
printf '127.0.0.1 localhost %s\n' "$(hostname)" > /tmp/hosts
mount --bind /tmp/hosts /etc/hosts
for setting in default all; do echo 1 > /proc/sys/net/ipv6/conf/$setting/disable_ipv6 2>/dev/null || true; done
mount -t sysfs sysfs /sys
ip link set lo up
echo ready
exec 1>&- 2>&-
while :; do sleep 3600; done
"""


class LabError(Exception):
    """Something about the lab went wrong; the text says what, for a person."""


slowness = 1   # how many times longer than usual everything may take; a board sets it for its build


def wait_until(condition, seconds, what):
    """Polls condition until it answers something true; LabError after the given time."""
    deadline = time.monotonic() + seconds * slowness
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise LabError(f"gave up after {seconds} s waiting for {what}")
        time.sleep(0.02)


def entrance_of(pid):
    """The nsenter process through which a service came, also when that has ended and waits for it; None if it is gone."""
    try:
        parent = int(Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[1])
        return parent if Path(f"/proc/{parent}/comm").read_text() == "nsenter\n" else None
    except OSError:
        return None


def children_of(pid):
    """Direct children of a process, by its main thread; empty when it has gone."""
    try:
        return [int(text) for text in Path(f"/proc/{pid}/task/{pid}/children").read_text().split()]
    except OSError:
        return []


def is_alive(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


def _enter_network(namespace):
    if ctypes.CDLL(None, use_errno=True).setns(namespace.fileno(), _CLONE_NEWNET) != 0:
        raise LabError(f"cannot enter a network namespace: {os.strerror(ctypes.get_errno())}")


class Usage(NamedTuple):
    cpu_seconds: float
    resident_kb: int


class Host:
    """One host of a lab. All its knowledge is in the state folder, so that another process can go on with it."""

    def __init__(self, lab_folder, name):
        self.name = name
        self.folder = Path(lab_folder) / name

    # -- life ---------------------------------------------------------------------------------------------------

    def start(self, binds):
        """Brings the host up. binds: folder of this machine -> name below /run/lab."""
        self.folder.mkdir(parents=True, exist_ok=True)
        pairs = [f"{source}:{name}" for source, name in {**binds, self.folder: "state"}.items()]
        holder = subprocess.Popen(
            ["unshare", "--net", "--mount", "--uts", "--ipc", "--pid", "--fork", "--kill-child=SIGKILL",
             "--propagation", "private", "--mount-proc", "sh", "-c", _HOLDER_SCRIPT,
             HOLDER_MARK, f"{self.folder.parent.name}/{self.name}", self.name, *pairs],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            start_new_session=True, cwd="/")
        with holder.stdout, holder.stderr:
            if holder.stdout.readline() != "ready\n":
                holder.kill()
                raise LabError(f"host {self.name} did not come up: {holder.stderr.read().strip()}")
        _detached.append(holder)
        (self.folder / "holder").write_text(f"{holder.pid} {children_of(holder.pid)[0]}\n")

    def stop(self):
        for pid in [*self._entrances(), *reversed(self._holder_pids())]:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def _entrances(self):
        """The nsenter processes of services. One whose service was made to stand still stands still itself from then on,
        and would outlive the host."""
        found = (entrance_of(path.read_text().strip()) for path in self.folder.glob("*.pid"))
        return [pid for pid in found if pid is not None]

    def is_up(self):
        pids = self._holder_pids()
        return bool(pids) and all(is_alive(pid) for pid in pids)

    def _holder_pids(self):
        try:
            return [int(text) for text in (self.folder / "holder").read_text().split()]
        except OSError:
            return []

    @property
    def pid(self):
        """The host's process 1, as this machine numbers it."""
        pids = self._holder_pids()
        if len(pids) != 2 or not is_alive(pids[1]):
            raise LabError(f"host {self.name} is not up")
        return pids[1]

    # -- commands -----------------------------------------------------------------------------------------------

    def enter(self, command):
        """The command line that runs command inside the host."""
        return ["nsenter", "-t", str(self.pid), "-n", "-m", "-u", "-i", "-p", "--", *map(str, command)]

    def run(self, *command, check=True, timeout=60, **options):
        """Runs to the end; the answer has stdout and stderr as text."""
        done = subprocess.run(self.enter(command), capture_output=True, text=True, timeout=timeout, cwd="/",
                              env=ENVIRONMENT, **options)
        if check and done.returncode != 0:
            raise LabError(f"{self.name}: {' '.join(map(str, command))} ended with {done.returncode}: "
                           f"{(done.stderr or done.stdout).strip()}")
        return done

    def call(self, *command):
        """Runs with this process' terminal; the answer is the exit status."""
        return subprocess.call(self.enter(command), cwd="/", env=ENVIRONMENT)

    def spawn(self, service, *command, env=None):
        """Starts a service that outlives this process; its output goes to SERVICE.out in the state folder."""
        with open(self.folder / f"{service}.out", "ab") as output:
            entered = subprocess.Popen(self.enter(command), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                       start_new_session=True, cwd="/", env={**ENVIRONMENT, **(env or {})})
        _detached.append(entered)
        pid = wait_until(lambda: next(iter(children_of(entered.pid)), None) or entered.poll() is not None, 5,
                         f"{service} on {self.name} to start")
        if pid is True:
            raise LabError(f"{self.name}: {service} ended at once: {self.output(service).strip()[-500:]}")
        (self.folder / f"{service}.pid").write_text(f"{pid}\n")
        return pid

    def service_pid(self, service):
        """Process id of a running service, or None."""
        try:
            pid = int((self.folder / f"{service}.pid").read_text())
        except (OSError, ValueError):
            return None
        return pid if is_alive(pid) else None

    def signal(self, service, number=signal.SIGTERM, wait=True):
        """Sends a signal to a service; with wait, returns when it has ended."""
        pid = self.service_pid(service)
        if pid is None:
            return
        os.kill(pid, number)
        if wait:
            wait_until(lambda: not is_alive(pid), 10, f"{service} on {self.name} to end")

    def usage(self, service):
        """What a running service has used so far: seconds of CPU and resident memory in kB."""
        pid = self.service_pid(service)
        if pid is None:
            raise LabError(f"{service} on {self.name} does not run")
        fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        pages = int(Path(f"/proc/{pid}/statm").read_text().split()[1])
        return Usage((int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK"),
                     pages * os.sysconf("SC_PAGE_SIZE") // 1024)

    def output(self, service):
        try:
            return (self.folder / f"{service}.out").read_text(errors="replace")
        except OSError:
            return ""

    @contextlib.contextmanager
    def network(self):
        """Inside, sockets that this thread makes belong to the host's network; they keep doing so afterwards."""
        with open("/proc/self/ns/net") as home, open(f"/proc/{self.pid}/ns/net") as there:
            _enter_network(there)
            try:
                yield
            finally:
                _enter_network(home)

    # -- files and devices --------------------------------------------------------------------------------------

    def write(self, path, text):
        """Writes a file as the host sees the path."""
        subprocess.run(self.enter(["sh", "-c", 'mkdir -p "$(dirname "$1")" && cat > "$1"', "write", path]),
                       input=text, text=True, check=True, cwd="/")

    def read(self, path):
        return self.run("cat", path).stdout

    def cable(self, device, other, other_device, mtu=1500):
        """A veth pair between two hosts, checksum offload off so that captures show what a wire would carry."""
        # Made from outside: a host's own process namespace does not see the other holder.
        subprocess.run(["ip", "link", "add", device, "netns", str(self.pid), "mtu", str(mtu), "type", "veth",
                        "peer", "name", other_device, "netns", str(other.pid), "mtu", str(mtu)], check=True)
        for host, end in ((self, device), (other, other_device)):
            host.run("ethtool", "-K", end, "tx", "off", check=False)
            host.run("ip", "link", "set", end, "up")


class Lab:
    """A named set of hosts. Its state folder survives the process that made it."""

    def __init__(self, name="lab"):
        self.name = name
        self.folder = STATE_ROOT / name

    def host(self, name):
        return Host(self.folder, name)

    def hosts(self):
        if not self.folder.is_dir():
            return []
        return [Host(self.folder, path.parent.name) for path in sorted(self.folder.glob("*/holder"))]

    def is_up(self):
        return any(host.is_up() for host in self.hosts())

    def down(self):
        """Ends every host, also those whose state was lost; removes the state. Safe to call at any time. LabError with what
        sanitizers have reported, when all that is done."""
        for host in self.hosts():
            host.stop()
        for pid in self._stray_holders():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        wait_until(lambda: not self._stray_holders(), 10, "the hosts to end")
        reports = sanitizers.reports(self.folder)
        subprocess.run(["rm", "-rf", str(self.folder)], check=True)
        try:
            STATE_ROOT.rmdir()
        except OSError:
            pass  # another lab is up, or there was none
        if reports:
            raise LabError(f"sanitizers reported:\n{reports}")

    def _stray_holders(self):
        found = []
        for folder in Path("/proc").glob("[0-9]*"):
            try:
                words = (folder / "cmdline").read_bytes().split(b"\0")
            except OSError:
                continue
            if HOLDER_MARK.encode() in words and any(word.startswith(f"{self.name}/".encode()) for word in words):
                if is_alive(int(folder.name)):
                    found.append(int(folder.name))
        return found
