#include "Require.h"
#include "vnode/model/Node.h"
#include "vnode/model/NodeFile.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// The description, or nothing for a file that is refused in the way the documentation promises.
std::optional<vnode::NodeDescription> parse(std::string_view text)
{
    try {
        return vnode::parseNode(text, "node.xml");
    } catch (const vnode::NodeFileError& error) {
        const std::string_view complaint = error.what();
        require(complaint.starts_with("node.xml:") &&
                complaint.size() > std::string_view("node.xml: ").size());
        require(error.line <= static_cast<long>(std::ranges::count(text, '\n')) + 1);
        return std::nullopt;
    }
}

/// Every VLAN of a port leads a broadcast of that VLAN in, and lets it out on members only.
void flood(vnode::Node& node, std::size_t device, std::uint16_t tpid, std::uint16_t vlan)
{
    std::vector<std::uint8_t> frame(60, 0);
    std::fill_n(frame.begin(), 6, 0xFF);
    frame[6] = 2;
    frame[12] = static_cast<std::uint8_t>(tpid >> 8);
    frame[13] = static_cast<std::uint8_t>(tpid);
    frame[14] = static_cast<std::uint8_t>(vlan >> 8);
    frame[15] = static_cast<std::uint8_t>(vlan);
    vnode::Decision decision;
    node.bridge().receive(device, frame, {}, decision);
    require(decision.reason != vnode::Drop::vlan && decision.ingress != 0);
    const vnode::Vlan* row = node.picture().findVlan(vlan);
    require(row != nullptr && std::ranges::binary_search(row->members, decision.ingress));
    for (const vnode::Egress& egress : decision.outputs)
        require(egress.interfaceId != decision.ingress &&
                std::ranges::binary_search(row->members, egress.interfaceId));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto description = parse({reinterpret_cast<const char*>(data), size});
    if (!description)
        return 0;
    require(!vnode::findProblem(*description));
    vnode::Node node(*description);
    require(node.picture().interfaces.size() == description->interfaces.size());
    for (std::size_t device = 0; device < description->ports.size(); ++device) {
        const vnode::PortDescription& port = description->ports[device];
        for (const vnode::Attachment& attachment : port.attachments) {
            require(node.picture().interfaces.find(attachment.interfaceId) != nullptr);
            // The first and the last are enough: a file may give a port all 4094 of them.
            std::optional<std::uint16_t> last;
            for (std::uint16_t vlan = vnode::vlanIdMin; vlan <= vnode::vlanIdMax; ++vlan) {
                if (!attachment.tagged[vlan])
                    continue;
                if (!last)
                    flood(node, device, port.tpid, vlan);
                last = vlan;
            }
            if (last)
                flood(node, device, port.tpid, *last);
            if (attachment.untagged)
                flood(node, device, port.tpid, *attachment.untagged);
        }
    }
    return 0;
}
