"""Node files of the lab: the board's bridge, and the switch that takes the tags off on the operator's side."""


def board_node_file(subscribers, options, *, mac, ip, node_vlan, subscriber_vlan, uplink):
    """The board: an uplink, a PON port with an ONU and a GEM port for each odd subscriber, a line for each even one."""
    gems = "".join(
        f'    <interface id="{200 + sub.number}" name="0/1.{sub.number}" type="onu" onu="{sub.number}">\n'
        f'      <interface id="{sub.interface}" name="{sub.interface_name}" linux="gem{sub.number}" type="gem" gem="{sub.number}"/>\n'
        f'    </interface>\n' for sub in subscribers if sub.is_gem)
    lines = "".join(
        f'  <interface id="{sub.interface}" name="{sub.interface_name}" linux="line{sub.number}" type="subscriber" '
        f'panel="0" port="{sub.number + 10}"/>\n' for sub in subscribers if not sub.is_gem)
    ports = "".join(f'  <port device="{sub.host_name}" interface="{sub.interface}" untagged="{subscriber_vlan}"/>\n'
                    for sub in subscribers)
    vlans = sorted({*range(subscriber_vlan, subscriber_vlan + 1), node_vlan})
    return f"""<?xml version="1.0"?>
<node mac="{mac}" ipv4="{ip}" boardType="2" boardName="QXB" slot="3">
{"".join(f'  <vlan id="{vlan}" name="vlan{vlan}"/>' + chr(10) for vlan in vlans)}\
{f'  <vlan id="{options.trunk_vlans}"/>' + chr(10) if options.trunk_vlans else ""}\
{"".join(f"  {line}" + chr(10) for line in options.vlans)}\
  <interface id="{uplink}" name="0/0" linux="up0" type="eth" panel="0" port="0"/>
  <interface id="9" name="mgmt" linux="mgmt0" type="management"/>
  <interface id="10" name="0/1" linux="pon1" type="pon" panel="0" port="1">
{gems}  </interface>
{lines}{"".join(f"  {line}" + chr(10) for line in options.interfaces)}\
  <port device="up0" interface="{uplink}" tagged="{" ".join(map(str, [*vlans, *options.uplink_vlans, options.trunk_vlans]))}"/>
  <port device="mgmt0" interface="9" untagged="{node_vlan}" internal="yes"/>
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
