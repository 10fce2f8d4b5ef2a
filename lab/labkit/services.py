"""The real programs that stand around the daemon in a lab: port mapper, syslog, DHCP servers and clients."""
import json
import re
import signal

from . import dhcp
from .hosts import LabError, wait_until

# Inet and local only: rpcbind and the RPC library then look at no IPv6 transport.
NETCONFIG = """udp        tpi_clts      v     inet     udp     -       -
tcp        tpi_cots_ord  v     inet     tcp     -       -
local      tpi_cots_ord  -     loopback -       -       -
"""


def start_port_mapper(host):
    host.write("/tmp/netconfig", NETCONFIG)
    host.run("mount", "--bind", "/tmp/netconfig", "/etc/netconfig")
    host.spawn("rpcbind", "/usr/bin/python3", "/run/lab/lab/labkit/port_mapper.py")
    wait_until(lambda: "portmapper" in host.run("rpcinfo", "-p", "127.0.0.1", check=False).stdout, 5,
               "the port mapper")


def start_syslog(host):
    """Everything logged on the host goes to /var/log/messages; read it with syslog_text."""
    host.spawn("syslogd", "busybox", "syslogd", "-n", "-O", "/var/log/messages")
    wait_until(lambda: host.run("test", "-S", "/dev/log", check=False).returncode == 0, 5, "the syslog daemon")


def syslog_text(host):
    return host.run("cat", "/var/log/messages", check=False).stdout


# -- DHCPv4 server ------------------------------------------------------------------------------------------------

def start_kea4(host, interfaces, subnets, options=None):
    """Kea on the given devices. subnets: dictionaries as Kea has them; "id" is added by position."""
    numbered = [{"id": number + 1, **subnet} for number, subnet in enumerate(subnets)]
    config = {"Dhcp4": {
        "interfaces-config": {"interfaces": interfaces, "dhcp-socket-type": "raw", "service-sockets-max-retries": 5},
        "lease-database": {"type": "memfile", "persist": False},
        "valid-lifetime": 600, "renew-timer": 300, "rebind-timer": 500, "subnet4": numbered,
        "loggers": [{"name": "kea-dhcp4", "severity": "INFO",
                     "output_options": [{"output": "/var/log/kea4.log", "flush": True}]}], **(options or {})}}
    host.write("/var/lib/kea/kea4.json", json.dumps(config, indent=1))
    host.spawn("kea4", "env", "KEA_PIDFILE_DIR=/var/lib/kea", "KEA_LOCKFILE_DIR=/var/lib/kea",
               "kea-dhcp4", "-c", "/var/lib/kea/kea4.json")
    wait_until(lambda: "DHCP4_STARTED" in kea4_log(host), 15, f"the DHCP server on {host.name}")


def kea4_log(host):
    return host.run("cat", "/var/log/kea4.log", check=False).stdout


# -- DHCPv4 clients -----------------------------------------------------------------------------------------------

_UDHCPC_SCRIPT = """#!/bin/sh
case "$1" in
deconfig) ip addr flush dev "$interface" 2>/dev/null ;;
bound|renew) ip addr replace "$ip/$mask" dev "$interface"
    echo "$1 $ip from $serverid lease $lease" >> /run/lab/state/udhcpc.events ;;
esac
"""

_DHCLIENT_SCRIPT = """#!/bin/sh
case "$reason" in
BOUND|RENEW|REBIND|REBOOT) ip addr replace "$new_ip_address/$new_subnet_mask" dev "$interface"
    echo "$reason $new_ip_address from $new_dhcp_server_identifier lease $new_dhcp_lease_time" \\
        >> /run/lab/state/dhclient.events ;;
EXPIRE|RELEASE|STOP) ip addr flush dev "$interface" ;;
esac
exit 0
"""


class Udhcpc:
    """The busybox client. udhcpc -f stays and renews on SIGUSR1, releases on SIGUSR2."""
    name = "udhcpc"

    def __init__(self, host, device="eth0"):
        self.host, self.device = host, device
        self.host.write("/var/lib/udhcpc.script", _UDHCPC_SCRIPT)
        self.host.run("chmod", "755", "/var/lib/udhcpc.script")

    def start(self, *options):
        self.host.spawn(self.name, "udhcpc", "-f", "-i", self.device, "-t", "5", "-T", "2",
                        "-s", "/var/lib/udhcpc.script", "-p", "/var/lib/udhcpc.pid", *options)

    def lease(self, seconds=20):
        return wait_until(lambda: _address(self.host, self.device), seconds, f"{self.name} to get a lease")

    def renew(self):
        self.host.signal(self.name, signal.SIGUSR1, wait=False)

    def release(self):
        self.host.signal(self.name, signal.SIGUSR2, wait=False)

    def stop(self):
        self.host.signal(self.name, signal.SIGTERM)

    def events(self):
        path = self.host.folder / f"{self.name}.events"
        return path.read_text().splitlines() if path.exists() else []


class Dhclient(Udhcpc):
    """The ISC client; it renews when told to by its own -r / new run, so renew() starts it again on its lease."""
    name = "dhclient"

    def __init__(self, host, device="eth0"):
        self.host, self.device = host, device
        self.host.write("/var/lib/dhclient.script", _DHCLIENT_SCRIPT)
        self.host.run("chmod", "755", "/var/lib/dhclient.script")
        self.host.write("/var/lib/dhclient.conf", "timeout 20;\nretry 2;\ninitial-interval 1;\n")

    def _command(self, *options):
        return ("dhclient", "-sf", "/var/lib/dhclient.script", "-lf", "/var/lib/dhclient.leases",
                "-pf", "/var/lib/dhclient.pid", "-cf", "/var/lib/dhclient.conf", *options, self.device)

    def start(self, *options):
        self.host.spawn(self.name, *self._command("-d", *options))

    def renew(self):
        raise LabError("dhclient renews by its own timers only")

    def release(self):
        self.host.run(*self._command("-r"))


def _address(host, device):
    found = re.search(r"inet (\S+?)/", host.run("ip", "-4", "addr", "show", "dev", device).stdout)
    return found and found.group(1)


# -- captures -----------------------------------------------------------------------------------------------------

class Capture:
    """Every DHCPv4 frame that passes a device of a host, as dhcp.Seen; sends frames there, too."""
    decode = staticmethod(dhcp.decode)

    def __init__(self, host, device):
        self.host, self.device = host, device
        self._seen = []
        with host.network():
            self._port = dhcp.Port(device)

    def send(self, frame):
        self._port.send(frame)

    def frames(self):
        """(direction, dhcp.Seen) of every frame so far; direction is "out" for frames that the host sent."""
        while True:
            frame, outgoing = self._port.receive(0)
            if frame is None:
                return list(self._seen)
            seen = self.decode(frame)
            if seen:
                self._seen.append(("out" if outgoing else "in", seen))

    def wait(self, wanted, seconds=5, what="a frame"):
        """The first frame for which wanted(direction, seen) holds."""
        def look():
            return next((seen for direction, seen in self.frames() if wanted(direction, seen)), None)
        return wait_until(look, seconds, f"{what} on {self.device} of {self.host.name}")

    def close(self):
        self._port.socket.close()
