"""The lab's board: an OLT with subscribers on one side and an operator's network with a DHCP server on the other.

    sub1 eth0 --- sub1 \\                                   / v100 10.100.0.1   Kea
    sub2 eth0 --- sub2 --- vnode (olt) up0 === trunk0 vnode (net)
                          \\ mgmt0 10.55.0.2                \\ v55  10.55.0.1    Kea
    dhcpra (olt) sits behind br0_dhcp of the board's vnode.

Subscribers live in VLAN 100; the node's own IP stack reaches the server in VLAN 55. The trunk carries both, tagged;
as the kernel of a lab machine may know no VLAN devices, a second virtual node takes the tags off in "net".
"""
import json
import os
import signal
import time
from dataclasses import dataclass, field
from pathlib import Path

from . import hosts, nodes, sanitizers, services
from .hosts import Lab, LabError, wait_until

TOP = Path(__file__).resolve().parent.parent.parent

SUBSCRIBER_VLAN = 100
NODE_VLAN = 55
NODE_MAC = "02:00:5e:00:55:02"
NODE_IP = "10.55.0.2"
RELAY_SERVER_IP = "10.55.0.1"
SUBSCRIBER_SERVER_IP = "10.100.0.1"
MTU = 2000
PROGRAMS = ("dhcpra", "dhcpractl", "vnode", "vnodectl")
LOAD_PROGRAMS = ("storm", "quickdhcpd", "rpc_load")

BLL_CONFIG = """<?xml version="1.0"?>
<config><BLL><BOARD Id="all_boards">
<BLE Name="dhcpra" Load="static" Start="true"/>
<BLE Name="ipsg" Load="static" Start="true"/>
<BLE Name="dai" Load="static" Start="true"/>
</BOARD></BLL></config>
"""
BLL_CONFIG_PATH = "/opt/qm7100/neroot/active/bridge_SW/bin/bll_config.xml"


@dataclass
class Options:
    subscribers: int = 2
    mode: str = "full"            # full or simplified
    server: str = "kea"           # kea or none
    build: str = str(TOP / "build" / "dev")
    config: list = field(default_factory=list)   # further configuration lines, applied last
    ports: list = field(default_factory=list)    # further <port> elements of the board's node file
    interfaces: list = field(default_factory=list)   # further <interface> elements
    vlans: list = field(default_factory=list)        # further <vlan> elements
    uplink_vlans: list = field(default_factory=list) # further VLAN ids on the trunk, each with a port vN in "net"
    trunk_vlans: str = ""         # further VLANs such as "200-210 400" on the board's side of the trunk only
    cables: list = field(default_factory=list)   # further devices of the board: (device, host, device there)
    kind: str = "pon"             # pon: subscribers on GEM ports, or line: on lines


@dataclass
class Subscriber:
    """Who sits behind one subscriber port."""
    number: int
    interface: int
    interface_name: str

    @property
    def host_name(self):
        return f"sub{self.number}"


def ip_number(text):
    a, b, c, d = map(int, text.split("."))
    return a << 24 | b << 16 | c << 8 | d


def mac_hex(text):
    return text.replace(":", "")


class Board:
    def __init__(self, lab=None, options=None):
        self.lab = lab or Lab()
        self.options = options or Options()
        hosts.slowness = sanitizers.slowness(self.options.build)
        self.olt, self.net = self.lab.host("olt"), self.lab.host("net")
        self.numbering = self.number_interfaces()
        self.subscribers = [self.subscriber(number + 1) for number in range(self.options.subscribers)]

    def number_interfaces(self):
        count = self.options.subscribers
        if self.options.kind == "line":
            return nodes.LineNumbering(count)
        # As many PON ports as GEM ports, though one would do: see PonNumbering.
        return nodes.PonNumbering(onus=count, pon_ports=count, gem_ports=count)

    def subscriber(self, number):
        if self.options.kind == "line":
            return Subscriber(number, self.numbering.line(number), f"0/{number + 10}")
        return Subscriber(number, self.numbering.gem_port(number), f"0/1/{number}")

    @property
    def uplink(self):
        return self.numbering.uplink

    # -- coming up ----------------------------------------------------------------------------------------------

    @classmethod
    def of(cls, lab):
        """The board of a lab that is up."""
        try:
            return cls(lab, Options(**json.loads((lab.folder / "options.json").read_text())))
        except OSError:
            raise LabError(f"{lab.name} is not up") from None

    def up(self):
        self.check_build()
        self.lab.down()
        cables = [*((sub.host_name, sub.host_name, "eth0") for sub in self.subscribers), ("up0", "net", "trunk0"),
                  *map(tuple, self.options.cables)]
        self.start_hosts(["olt", "net", *(host for _, host, _ in cables)])
        for device, host, other_device in cables:
            self.olt.cable(device, self.lab.host(host), other_device, MTU)
        (self.lab.folder / "options.json").write_text(json.dumps(vars(self.options)))
        self.start_network()
        self.start_board()
        self.configure()

    def start_hosts(self, names):
        binds = {TOP / "lab": "lab", Path(self.options.build).resolve(): "build"}
        programs = [name for name in (*PROGRAMS, *LOAD_PROGRAMS) if self._built(name)]
        links = " && ".join(f"ln -s {self.program(name)} /run/lab/bin/{name}" for name in programs)
        for name in dict.fromkeys(names):
            self.lab.host(name).start(binds)
            self.lab.host(name).run("sh", "-c", links)

    def check_build(self):
        for program in PROGRAMS:
            if self._built(program) is None:
                raise LabError(f"{self.options.build} has no {program}: build it first "
                               "(cmake --preset dev && cmake --build --preset dev)")

    def program(self, name):
        """A built program's path as the hosts see it."""
        return f"/run/lab/build/{self._built(name).relative_to(Path(self.options.build).resolve())}"

    def _built(self, name):
        files = sorted(Path(self.options.build).resolve().rglob(name))
        return next((path for path in files if path.is_file() and os.access(path, os.X_OK)), None)

    def subscriber_host(self, subscriber):
        return self.lab.host(subscriber.host_name)

    def start_network(self):
        """The operator's side: tags off, a server in each VLAN."""
        addresses = {SUBSCRIBER_VLAN: SUBSCRIBER_SERVER_IP, NODE_VLAN: RELAY_SERVER_IP}
        for vlan in (*addresses, *self.options.uplink_vlans):
            self.net.run("ip", "link", "add", f"v{vlan}", "mtu", "1500", "type", "veth", "peer", "name", f"v{vlan}p",
                         "mtu", str(MTU))
            for device in (f"v{vlan}", f"v{vlan}p"):
                self.net.run("ethtool", "-K", device, "tx", "off", check=False)
                self.net.run("ip", "link", "set", device, "up")
            if vlan in addresses:
                self.net.run("ip", "addr", "add", f"{addresses[vlan]}/24", "dev", f"v{vlan}")
        self.net.write("/tmp/node.xml", nodes.network_node_file([SUBSCRIBER_VLAN, NODE_VLAN, *self.options.uplink_vlans]))
        self.start_vnode(self.net)
        if self.options.server == "kea":
            services.start_kea4(self.net, [f"v{SUBSCRIBER_VLAN}", f"v{NODE_VLAN}"], [subscriber_subnet()])

    def start_board(self):
        services.start_syslog(self.olt)
        services.start_port_mapper(self.olt)
        self.olt.write("/tmp/get_board_id", "QXB\n")
        self.olt.write(BLL_CONFIG_PATH, BLL_CONFIG)
        self.olt.write("/tmp/node.xml", self.node_file())
        self.start_vnode(self.olt)
        self.olt.run("ip", "link", "set", "mgmt0", "up")
        self.olt.run("ip", "addr", "replace", f"{NODE_IP}/24", "dev", "mgmt0")
        self.olt.run("ip", "route", "replace", "default", "via", RELAY_SERVER_IP)
        self.start_daemon()

    def start_vnode(self, host):
        host.spawn("vnode", "vnode", "/tmp/node.xml")

        def is_ready():
            if host.service_pid("vnode") is None:
                raise LabError(f"the virtual node on {host.name} ended: {host.output('vnode').strip()[-500:]}")
            # Not by the socket file: a node that was killed leaves it behind.
            return host.run("vnodectl", "status", check=False).returncode == 0
        wait_until(is_ready, 10, f"the virtual node on {host.name}")

    def start_daemon(self, *, env=None):
        self.olt.spawn("dhcpra", "dhcpra", env=env)
        wait_until(self.answers, 10, "dhcpra to answer over RPC")

    def answers(self):
        return self.ctl("call", "ping", check=False).returncode == 0

    def stop_daemon(self, number=signal.SIGTERM):
        self.olt.signal("dhcpra", number)

    def restart_daemon(self, number=signal.SIGKILL):
        """Ends the daemon, starts it and replays the whole configuration; seconds since the signal."""
        began = time.monotonic()
        self.stop_daemon(number)
        self.start_daemon()
        answers = time.monotonic() - began
        self.configure()
        return {"answersAfter": round(answers, 2), "configuredAfter": round(time.monotonic() - began, 2)}

    # -- configuration ------------------------------------------------------------------------------------------

    def ctl(self, *words, check=True):
        return self.olt.run("dhcpractl", *words, check=check)

    def call(self, procedure, *arguments):
        """One RPC call; the answer's fields as a dictionary."""
        return json.loads(self.ctl("--json", "call", procedure, *arguments).stdout)

    def apply(self, lines):
        """Replays configuration lines; LabError names the first refused one."""
        path = self.olt.folder / "apply.conf"
        path.write_text("\n".join(lines) + "\n")
        self.ctl("apply", "/run/lab/state/apply.conf")

    def node(self, *words):
        """What vnodectl says about the board's bridge."""
        return json.loads(self.olt.run("vnodectl", "--json", *words).stdout)

    def dump(self, interface=0):
        """The relay's own account of its tables."""
        # Its answer goes to a terminal; a file serves as one.
        self.olt.write("/tmp/dump", "")
        self.call("ext_message", "dhcpraDump", str(interface), "/tmp/dump")
        return wait_until(lambda: (lambda text: text if text.endswith("\n\n") else "")(self.olt.read("/tmp/dump")), 5,
                          "the relay's tables")

    def configure(self):
        self.apply(self.configuration())
        wait_until(lambda: self.olt.run("ip", "link", "show", "br0_dhcp", check=False).returncode == 0, 5,
                   "the relay's pseudo device")

    def configuration(self):
        """The lines a management process would replay after a start."""
        full = 1 if self.options.mode == "full" else 0
        lines = [
            "apply_default_settings",
            "set_shelf_id sh1",
            "set_node_id node1",
            f"set_local_mac {mac_hex(NODE_MAC)}",
            f"set_local_ip {ip_number(NODE_IP)}",
            "set_chassis_id 1",
            f"set_full_mode {full}",
            f"set_default_server {ip_number(RELAY_SERVER_IP)}",
            "set_insert_remote_id 1",
            f"intf_set_mode {self.uplink} 2",
        ]
        for subscriber in self.subscribers:
            lines.append(f"intf_set_remote_id {subscriber.interface} customer-{subscriber.number}")
        return [*lines, *self.options.config, "set_enabled 1"]

    # -- files --------------------------------------------------------------------------------------------------

    def client_interfaces(self):
        if self.options.kind == "line":
            return nodes.line_interfaces(self.subscribers)
        return nodes.pon_interfaces(self.subscribers, self.numbering)

    def node_file(self):
        return nodes.board_node_file(self.subscribers, self.client_interfaces(), self.options, self.numbering, mac=NODE_MAC, ip=NODE_IP,
                                     node_vlan=NODE_VLAN, subscriber_vlan=SUBSCRIBER_VLAN)


def subscriber_subnet():
    return {"subnet": "10.100.0.0/24", "authoritative": True, "pools": [{"pool": "10.100.0.50-10.100.0.200"}],
            # Requests come from the subscribers' VLAN itself, or relayed with the node as giaddr.
            "relay": {"ip-addresses": [NODE_IP]}, "interface": "v100",
            "option-data": [{"name": "routers", "data": SUBSCRIBER_SERVER_IP},
                            {"name": "dhcp-server-identifier", "data": SUBSCRIBER_SERVER_IP}]}
