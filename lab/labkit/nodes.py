"""Node files of the lab: the board's bridge, and the switch that takes the tags off on the operator's side."""
from dataclasses import dataclass

PON_OPTION = 5   # deployment option: the board counts by PON port, and source guard works on GEM ports


@dataclass(frozen=True)
class PonNumbering:
    """Interface ids of a PON board: ONUs, PON ports, GEM ports, uplinks.

    Source guard begins behind as many ids as there are ONUs and GEM ports, so no GEM port has an id up to that number.
    ARP inspection walks up to the first id that nobody has, and knows as many ids as there are ONUs, PON ports and GEM
    ports: it sees all GEM ports where there are as many PON ports as GEM ports."""
    onus: int
    pon_ports: int
    gem_ports: int

    def onu(self, number):
        return number

    def pon_port(self, number):
        return self.onus + number

    def gem_port(self, number):
        return self.onus + max(self.pon_ports, self.gem_ports) + number

    @property
    def uplink(self):
        return self.gem_port(self.gem_ports) + 1

    @property
    def management(self):
        return self.uplink + 1


@dataclass(frozen=True)
class LineNumbering:
    """Interface ids of a board with lines: the lines from 1 on without a gap, which is how source guard and ARP
    inspection walk them, then uplinks."""
    lines: int

    def line(self, number):
        return number

    @property
    def uplink(self):
        return self.lines + 1

    @property
    def management(self):
        return self.uplink + 1


def pon_interfaces(subscribers, numbering):
    """One ONU with a GEM port for each subscriber, all behind the first PON port; the others have nobody."""
    onus = "".join(
        f'    <interface id="{numbering.onu(sub.number)}" name="0/1.{sub.number}" type="onu" onu="{sub.number}">\n'
        f'      <interface id="{sub.interface}" name="{sub.interface_name}" linux="gem{sub.number}" type="gem" gem="{sub.number}"/>\n'
        f'    </interface>\n' for sub in subscribers)
    return "".join(f'  <interface id="{numbering.pon_port(port)}" name="0/{port}" linux="pon{port}" type="pon" panel="0" '
                   f'port="{port}">\n{onus if port == 1 else ""}  </interface>\n'
                   for port in range(1, numbering.pon_ports + 1))


def line_interfaces(subscribers):
    return "".join(f'  <interface id="{sub.interface}" name="{sub.interface_name}" linux="line{sub.number}" type="subscriber" '
                   f'panel="0" port="{sub.number + 10}"/>\n' for sub in subscribers)


def board_node_file(subscribers, clients, options, numbering, *, mac, ip, node_vlan, subscriber_vlan):
    """The board: an uplink, the node's own IP stack, and a port for each subscriber. clients are the elements of their
    interfaces."""
    ports = "".join(f'  <port device="{sub.host_name}" interface="{sub.interface}" untagged="{subscriber_vlan}"/>\n'
                    for sub in subscribers)
    vlans = sorted({subscriber_vlan, node_vlan})
    return f"""<?xml version="1.0"?>
<node mac="{mac}" ipv4="{ip}" boardType="2" boardName="QXB" slot="3"{f' options="{PON_OPTION}"' if options.kind == "pon" else ""}>
{"".join(f'  <vlan id="{vlan}" name="vlan{vlan}"/>' + chr(10) for vlan in vlans)}\
{f'  <vlan id="{options.trunk_vlans}"/>' + chr(10) if options.trunk_vlans else ""}\
{"".join(f"  {line}" + chr(10) for line in options.vlans)}\
{clients}\
  <interface id="{numbering.uplink}" name="0/0" linux="up0" type="eth" panel="0" port="0"/>
  <interface id="{numbering.management}" name="mgmt" linux="mgmt0" type="management"/>
{"".join(f"  {line}" + chr(10) for line in options.interfaces)}\
  <port device="up0" interface="{numbering.uplink}" tagged="{" ".join(map(str, [*vlans, *options.uplink_vlans, options.trunk_vlans]))}"/>
  <port device="mgmt0" interface="{numbering.management}" untagged="{node_vlan}" internal="yes"/>
{ports}{"".join(f"  {line}" + chr(10) for line in options.ports)}\
</node>
"""


def network_node_file(vlans):
    """A plain switch: the trunk on one side, an untagged port for each VLAN on the other."""
    return f"""<?xml version="1.0"?>
<node mac="02:00:5e:00:00:fe" ipv4="192.0.2.254" boardName="switch">
  <vlan id="{" ".join(map(str, vlans))}"/>
  <interface id="1" name="trunk0" type="eth"/>
{"".join(f'  <interface id="{vlan + 1}" name="v{vlan}p" type="eth"/>' + chr(10) for vlan in vlans)}\
  <port device="trunk0" interface="1" tagged="{" ".join(map(str, vlans))}"/>
{"".join(f'  <port device="v{vlan}p" interface="{vlan + 1}" untagged="{vlan}"/>' + chr(10) for vlan in vlans)}\
</node>
"""
