"""A board under load: PON ports full of subscribers that `storm` plays, and a server that answers at once.

    subs p1 ... p64 === vnode (olt) up0 --- trunk0 quickdhcpd (net)

Each PON port is one device. Behind it are ONUs of four GEM ports each. Each subscriber has a GEM port of his own, an
interface that the node knows by its VLAN. The server sits on the trunk itself, tags and all, so that the machine's time goes to the board.
"""
import json
import math
import os
import re
import signal
import time
from dataclasses import dataclass

from . import nodes, services
from .board import RELAY_SERVER_IP, Board, Options
from .hosts import LabError, wait_until

FIRST_VLAN = 1000
GEM_PORTS_OF_ONU = 4
COUNTERS = ("discover", "request", "offer", "ack", "decline", "nak", "release", "inform", "discardOption82",
            "discardGiaddr", "discardBoth", "discardInvalid", "discardReaction", "option82NoRoom", "discardOther")


class LoadBoard(Board):
    def __init__(self, lab, *, subscribers=16000, pon_ports=64, mode="full", build=None):
        self.population, self.pon_ports = subscribers, pon_ports
        self.gems = math.ceil(subscribers / pon_ports)   # of each PON port
        self.onus = math.ceil(self.gems / GEM_PORTS_OF_ONU)
        last = FIRST_VLAN + self.gems - 1
        if last > 4094:
            raise LabError(f"{subscribers} subscribers do not fit behind {pon_ports} PON ports")
        super().__init__(lab, Options(
            subscribers=0, mode=mode, server="none", build=build or Options.build, trunk_vlans=f"{FIRST_VLAN}-{last}",
            cables=[(device, "subs", device) for device in self.devices()]))
        self.options.ports = [self.pon_device(number) for number in range(1, pon_ports + 1)]
        self.subs = self.lab.host("subs")

    def devices(self):
        return [f"p{number}" for number in range(1, self.pon_ports + 1)]

    def number_interfaces(self):
        return nodes.PonNumbering(self.pon_ports * self.onus, self.pon_ports, self.pon_ports * self.gems)

    def client_interfaces(self):
        return "".join(f"  {self.pon_port(number)}\n" for number in range(1, self.pon_ports + 1))

    def gem_ids(self, number):
        first = self.numbering.gem_port((number - 1) * self.gems + 1)
        return range(first, first + self.gems)

    def pon_port(self, number):
        onus = "".join(self.onu(number, at) for at in range(1, self.onus + 1))
        return (f'<interface id="{self.numbering.pon_port(number)}" name="0/{number}" linux="pon{number}" type="pon" panel="0" '
                f'port="{number}">{onus}</interface>')

    def onu(self, port, number):
        before = (number - 1) * GEM_PORTS_OF_ONU
        gems = "".join(f'<interface id="{gem}" name="0/{port}/{before + at}" linux="g{port}.{before + at}" type="gem" gem="{at}"/>'
                       for at, gem in enumerate(self.gem_ids(port)[before:before + GEM_PORTS_OF_ONU], 1))
        return (f'<interface id="{self.numbering.onu((port - 1) * self.onus + number)}" name="0/{port}.{number}" type="onu" '
                f'onu="{number}">{gems}</interface>')

    def pon_device(self, number):
        carries = "".join(f'<carries interface="{gem}" tagged="{FIRST_VLAN + at}"/>'
                          for at, gem in enumerate(self.gem_ids(number)))
        return f'<port device="p{number}">{carries}</port>'

    def start_network(self):
        self.net.spawn("quickdhcpd", "quickdhcpd", "trunk0", RELAY_SERVER_IP)
        wait_until(lambda: "answers on" in self.net.output("quickdhcpd"), 5, "quickdhcpd")

    def start_board(self):
        super().start_board()
        mac = self.net.read("/sys/class/net/trunk0/address").strip()
        self.olt.run("ip", "neigh", "replace", RELAY_SERVER_IP, "lladdr", mac, "dev", "mgmt0", "nud", "permanent")

    # -- load ---------------------------------------------------------------------------------------------------

    def start_storm(self, *words, limit=120):
        """Starts the subscribers; words are storm's own command and its options."""
        devices = [word for device in self.devices() for word in ("--device", device)]
        command = ["storm", *devices, "--subscribers", self.population, "--first-vlan", FIRST_VLAN,
                   "--vlans-per-device", self.gems, "--limit", limit, *words]
        (self.subs.folder / "storm.out").unlink(missing_ok=True)
        self.subs.spawn("storm", *command)

    def storm_report(self):
        """What storm said at its end; None while it runs."""
        if self.subs.service_pid("storm") is not None:
            return None
        try:
            return json.loads(self.subs.output("storm").splitlines()[-1])
        except (IndexError, ValueError):
            raise LabError(f"storm did not come to its end: {self.subs.output('storm').strip()[-500:]}") from None

    def stop_server(self):
        """Ends quickdhcpd; its own account of its life."""
        self.net.signal("quickdhcpd", signal.SIGTERM)
        return json.loads(self.net.output("quickdhcpd").splitlines()[-1])

    # -- what came of it ----------------------------------------------------------------------------------------

    def snapshot(self):
        """Everything that counts frames or uses memory on the board, as one flat dictionary."""
        values = {}
        for service in ("dhcpra", "vnode"):
            usage = self.olt.usage(service)
            values[f"{service}.cpuSeconds"], values[f"{service}.residentKb"] = usage
        for name, value in zip(COUNTERS, self.call("get_summed_counters")["counters"]):
            values[f"relay.{name}"] = value
        for name, value in self.node("status").items():
            if name in ("diverted", "injected", "notLearnt") or name.startswith("drop."):
                values[f"vnode.{name}"] = value
        for device in self.node("devices"):
            group = "pon" if device["name"].startswith("p") and device["kind"] == "port" else device["name"]
            for name, value in device.items():
                if isinstance(value, int) and name != "opened":
                    values[f"vnode.{group}.{name}"] = values.get(f"vnode.{group}.{name}", 0) + value
        values["dhcpra.socketDrops"] = self.socket_drops("br0_dhcp")
        for device in ("br0_dhcp", "mgmt0", "up0"):
            for name in ("tx_dropped", "rx_dropped"):
                values[f"kernel.{device}.{name}"] = int(self.olt.read(f"/sys/class/net/{device}/statistics/{name}"))
        values["kernel.udpSendErrors"] = self.udp_send_errors()
        values["board.logLines"] = len(services.syslog_text(self.olt).splitlines())
        return values

    def socket_drops(self, device):
        """Frames that packet sockets on a device of the board had no room for."""
        text = self.olt.run("ss", "-f", "link", "-m", "-H").stdout
        return sum(int(found) for found in re.findall(rf"\*:{re.escape(device)}\b[^\n]*\n?[^\n]*?,d(\d+)\)", text))

    def udp_send_errors(self):
        lines = [line for line in self.olt.read("/proc/net/snmp").splitlines() if line.startswith("Udp:")]
        names, values = (line.split()[1:] for line in lines)
        return int(dict(zip(names, values))["SndbufErrors"])


LOSSES = re.compile(r"vnode\.drop\.|\.(rxLost|rxErrors|rxOversize|txFull|txDown|txErrors|txOversize|socketDrops"
                    r"|udpSendErrors|tx_dropped|rx_dropped)$")


def growth(before, after):
    return {name: after[name] - before.get(name, 0) for name in after}


def frames_lost(grown, storm, server):
    """Where frames were lost, nothing but what is not zero."""
    places = {name: value for name, value in grown.items() if LOSSES.search(name)}
    places.update({"storm.notSent": storm["not_sent"], "storm.socketDrops": storm["socket_drops"],
                   "quickdhcpd.socketDrops": server["dropped"]})
    return {name: value for name, value in places.items() if value}


@dataclass
class Mishap:
    """What happens to the daemon during a run: it stands still from the start, or is killed and set up again."""
    stall_seconds: float = 0.0
    restart_at: float = 0.0

    def begin(self, board):
        if self.stall_seconds:
            os.kill(board.olt.service_pid("dhcpra"), signal.SIGSTOP)

    def go_on(self, board, passed):
        """Times of a restart in seconds since the kill, when it has just been done."""
        if self.stall_seconds and passed >= self.stall_seconds:
            os.kill(board.olt.service_pid("dhcpra"), signal.SIGCONT)
            self.stall_seconds = 0.0
        if self.restart_at and passed >= self.restart_at:
            self.restart_at = 0.0
            return board.restart_daemon()
        return None


def run(board, words, *, limit, sample_seconds=10, mishap=None):
    """One run of storm on a board that is up; everything about it as one dictionary."""
    mishap, restart = mishap or Mishap(), None
    before, began = board.snapshot(), time.monotonic()
    memory = [{"seconds": 0.0, "dhcpraKb": before["dhcpra.residentKb"], "vnodeKb": before["vnode.residentKb"]}]
    mishap.begin(board)
    board.start_storm(*words, limit=limit)
    while (storm := board.storm_report()) is None:
        time.sleep(0.1)
        passed = time.monotonic() - began
        restart = mishap.go_on(board, passed) or restart
        if passed - memory[-1]["seconds"] >= sample_seconds:
            memory.append({"seconds": round(passed, 1), "dhcpraKb": board.olt.usage("dhcpra").resident_kb,
                           "vnodeKb": board.olt.usage("vnode").resident_kb})
        if passed > limit + 30:
            raise LabError("storm does not end")
    time.sleep(0.5)  # what is still on its way
    after = board.snapshot()
    grown, server = growth(before, after), board.stop_server()
    memory.append({"seconds": round(time.monotonic() - began, 1), "dhcpraKb": after["dhcpra.residentKb"],
                   "vnodeKb": after["vnode.residentKb"]})
    return {"mode": board.options.mode, "subscribers": board.population, "ponPorts": board.pon_ports, "storm": storm,
            "server": server, "framesLost": frames_lost(grown, storm, server),
            "relay": {name.partition(".")[2]: value for name, value in grown.items() if name.startswith("relay.") and value},
            "cpuSeconds": {name: round(grown[f"{name}.cpuSeconds"], 2) for name in ("dhcpra", "vnode")},
            "logLines": grown["board.logLines"], "memory": memory, **({"restart": restart} if restart else {})}
