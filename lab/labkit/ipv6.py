"""IPv6 in the lab: off by default, switched on per device; DHCPv6 server, clients and router advertisements."""
import json
import re
import signal

from . import dhcp6
from .hosts import wait_until
from .services import Capture

SERVER_IP6 = "2001:db8:100::1"
ADDRESSES, PREFIXES = "2001:db8:100:", "2001:db8:200:"


def enable(host, device):
    """IPv6 on one device, its link-local address usable at once; answers that address."""
    for setting, value in (("accept_dad", 0), ("dad_transmits", 0), ("disable_ipv6", 0)):
        host.write(f"/proc/sys/net/ipv6/conf/{device}/{setting}", f"{value}\n")
    return wait_until(lambda: link_local(host, device), 5, f"a link-local address on {device} of {host.name}")


def link_local(host, device):
    found = re.search(r"inet6 (fe80\S+?)/64 scope link(?! .*tentative)", host.run("ip", "-6", "addr", "show", "dev", device).stdout)
    return found and found.group(1)


def address(host, device):
    """The global address from the server's pool, or None."""
    text = host.run("ip", "-6", "addr", "show", "dev", device).stdout
    found = re.search(rf"inet6 ({ADDRESSES}\S+?)/", text)
    return found and found.group(1)


def start_kea6(host, interface, *, renew=300, rebind=500):
    """Kea for addresses and prefixes. A relayed message with link address :: finds the subnet by the interface."""
    config = {"Dhcp6": {
        "interfaces-config": {"interfaces": [interface], "service-sockets-max-retries": 5},
        "lease-database": {"type": "memfile", "persist": False},
        "preferred-lifetime": 600, "valid-lifetime": 900, "renew-timer": renew, "rebind-timer": rebind,
        "subnet6": [{"id": 1, "subnet": "2001:db8:100::/64", "interface": interface,
                     "pools": [{"pool": "2001:db8:100::1000-2001:db8:100::1fff"}],
                     "pd-pools": [{"prefix": "2001:db8:200::", "prefix-len": 48, "delegated-len": 64}]}],
        "loggers": [{"name": "kea-dhcp6", "severity": "INFO",
                     "output_options": [{"output": "/var/log/kea6.log", "flush": True}]}]}}
    host.write("/var/lib/kea/kea6.json", json.dumps(config, indent=1))
    host.spawn("kea6", "env", "KEA_PIDFILE_DIR=/var/lib/kea", "KEA_LOCKFILE_DIR=/var/lib/kea",
               "kea-dhcp6", "-c", "/var/lib/kea/kea6.json")
    wait_until(lambda: "DHCP6_STARTED" in host.run("cat", "/var/log/kea6.log", check=False).stdout, 15,
               f"the DHCPv6 server on {host.name}")


def start_radvd(host, interface):
    host.write("/var/lib/radvd.conf", f"interface {interface} {{ AdvSendAdvert on; MinRtrAdvInterval 3; MaxRtrAdvInterval 4;\n"
                                      "  AdvManagedFlag on; prefix 2001:db8:100::/64 { AdvAutonomous off; }; };\n")
    host.spawn("radvd", "radvd", "-n", "-C", "/var/lib/radvd.conf", "-p", "/var/lib/radvd.pid", "-m", "stderr")


def start(board, vlan, **server):
    """The operator's side and the subscribers speak IPv6 from here on."""
    device = f"v{vlan}"
    enable(board.net, device)
    board.net.run("ip", "-6", "addr", "replace", f"{SERVER_IP6}/64", "dev", device, "nodad")
    for subscriber in board.subscribers:
        enable(board.subscriber_host(subscriber), "eth0")
    start_kea6(board.net, device, **server)


def remote_id(subscriber):
    """What option 37 carries behind the enterprise number. The node sums the last byte of an odd segment as the low one
    of its word, which no kernel accepts; where that byte is zero, both ways agree."""
    return f"customer-{subscriber.number}".encode() + b"\0"


def configuration(board, uplink, vlan):
    """Configuration lines that switch the DHCPv6 relay on."""
    return [f"dra6_intf_set_mode {uplink} 2",
            *(f"dra6_remoteid_format_intf_vlan_set {sub.interface} {vlan} customer-{sub.number}$00HEX"
              for sub in board.subscribers),
            "dra6_set_enabled 1"]


_DHCLIENT6_SCRIPT = """#!/bin/sh
if [ -n "$new_ip6_address" ]; then
    ip -6 addr replace "$new_ip6_address/128" dev "$interface"
    echo "$reason address $new_ip6_address" >> /run/lab/state/dhclient6.events
fi
[ -z "$new_ip6_prefix" ] || echo "$reason prefix $new_ip6_prefix" >> /run/lab/state/dhclient6.events
case "$reason" in
RELEASE6|STOP6|EXPIRE6) ip -6 addr del "$old_ip6_address/128" dev "$interface" 2>/dev/null ;;
esac
exit 0
"""


class Dhclient6:
    """The ISC client for an address and a prefix."""
    name = "dhclient6"

    def __init__(self, host, device="eth0"):
        self.host, self.device = host, device
        self.host.write("/var/lib/dhclient6.script", _DHCLIENT6_SCRIPT)
        self.host.run("chmod", "755", "/var/lib/dhclient6.script")
        self.host.write("/var/lib/dhclient6.conf", "timeout 20;\n")

    def _command(self, *options):
        return ("dhclient", "-6", "-N", "-P", "-sf", "/var/lib/dhclient6.script", "-lf", "/var/lib/dhclient6.leases",
                "-pf", "/var/lib/dhclient6.pid", "-cf", "/var/lib/dhclient6.conf", *options, self.device)

    def start(self):
        self.host.spawn(self.name, *self._command("-d"))

    def lease(self, seconds=20):
        return wait_until(lambda: address(self.host, self.device), seconds, f"{self.name} to get an address")

    def prefix(self, seconds=20):
        return wait_until(lambda: next((line.split()[-1] for line in self.events() if " prefix " in line), None), seconds,
                          f"{self.name} to get a prefix")

    def release(self):
        """Also ends the client."""
        self.host.run(*self._command("-r"), check=False)

    def stop(self):
        self.host.signal(self.name, signal.SIGTERM)

    def events(self):
        path = self.host.folder / f"{self.name}.events"
        return path.read_text().splitlines() if path.exists() else []


class Dhcp6c(Dhclient6):
    """The WIDE client; it sets the address itself and tells a script of the prefix."""
    name = "dhcp6c"

    def __init__(self, host, device="eth0"):
        self.host, self.device = host, device
        self.host.run("mkdir", "-p", "/var/lib/dhcpv6", "/run/dhcp6c")
        self.host.write("/proc/sys/net/ipv6/conf/lo/disable_ipv6", "0\n")  # its control socket wants ::1
        self.host.write("/var/lib/dhcp6c.conf", f"interface {device} {{ send ia-na 0; send ia-pd 0; }};\n"
                                                "id-assoc na 0 { };\nid-assoc pd 0 { };\n")

    def start(self):
        self.host.spawn(self.name, "dhcp6c", "-f", "-D", "-c", "/var/lib/dhcp6c.conf", "-p", "/run/dhcp6c/pid", self.device)

    def prefix(self, seconds=20):
        def look():
            found = re.findall(rf"({PREFIXES}\S*)/64", self.host.output(self.name))
            return found and found[-1] + "/64"
        return wait_until(look, seconds, f"{self.name} to get a prefix")

    def release(self):
        self.stop()


class Capture6(Capture):
    """Every DHCPv6 frame that passes a device of a host, as dhcp6.Seen."""
    decode = staticmethod(dhcp6.decode)
