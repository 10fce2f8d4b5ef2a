#pragma once

#include "support/DhcpFrame.h"
#include "support/NodeBuilder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The node and the frames with which the benchmarks of the DHCPv4 relay work.
namespace relayFrames {

inline constexpr std::uint32_t uplink = 1;
inline constexpr std::uint32_t firstLine = 2;
inline constexpr std::uint16_t vlan = 100;
inline constexpr std::uint32_t boardIp = test::ip(10, 0, 0, 1);
inline constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};
/// All frames have one tag and no IP options.
inline constexpr std::size_t udpOffset = test::recordSize + 14 + 4 + 20;
inline constexpr std::size_t dhcpOffset = udpOffset + 8;

inline test::Mac macOfClient(std::uint32_t client)
{
    return {2,
            1,
            0,
            static_cast<std::uint8_t>(client >> 16),
            static_cast<std::uint8_t>(client >> 8),
            static_cast<std::uint8_t>(client)};
}

inline std::string lineName(std::uint32_t line) { return "0/2/" + std::to_string(line); }

/// A node with one uplink and so many subscriber lines.
inline std::unique_ptr<test::TestNode> nodeWith(std::uint32_t lines)
{
    test::NodeBuilder builder;
    builder.slot(3).mac(boardMac).vlan(vlan).eth(uplink, "0/1");
    for (std::uint32_t line = 0; line < lines; ++line)
        builder.subscriber(firstLine + line, lineName(line));
    return builder.use();
}

inline test::Bytes discoverOf(std::uint32_t client, std::uint32_t line)
{
    return test::discover()
        .on(static_cast<std::uint16_t>(firstLine + line), "line")
        .vlan(vlan)
        .from(macOfClient(client))
        .xid(client + 1)
        .dhcpSize(300)
        .build();
}

/// What the server answers: to the client in Simplified mode, to the board in Full mode.
inline test::Bytes offerOf(std::uint32_t client, std::uint32_t line, bool full)
{
    auto offer = test::offer()
                     .on(uplink, "up")
                     .vlan(vlan)
                     .chaddr(macOfClient(client))
                     .xid(client + 1)
                     .yiaddr(test::ip(10, 1, 0, 50))
                     .option82("KORVANEL:shelf eth 3/" + lineName(line) + ":100");
    if (full)
        return offer.ports(67, 67).to(boardMac).destinationIp(boardIp).giaddr(boardIp).build();
    return offer.to(macOfClient(client)).destinationIp(test::ip(10, 1, 0, 50)).build();
}

/// One exchange of each client, the clients spread over the lines. The server takes its time: an OFFER comes
/// when many others have sent their DISCOVER meanwhile, but not so many that the relay has forgotten.
class Exchanges
{
public:
    Exchanges(bool full, std::uint32_t lines, std::uint32_t clients)
    {
        for (std::uint32_t client = 0; client < clients; ++client) {
            discovers.push_back(discoverOf(client, client % lines));
            offers.push_back(offerOf(client, client % lines, full));
        }
    }

    /// Any number; after the last client the first one comes again.
    [[nodiscard]] const test::Bytes& discover(std::size_t turn) const
    {
        return discovers[turn % discovers.size()];
    }
    [[nodiscard]] const test::Bytes& offer(std::size_t turn) const
    {
        constexpr std::size_t trail = 50;
        return offers[(turn + offers.size() - std::min(trail, offers.size() / 2)) % offers.size()];
    }
    [[nodiscard]] std::size_t size() const { return discovers.size(); }

private:
    std::vector<test::Bytes> discovers;
    std::vector<test::Bytes> offers;
};

/// Makes the relay ready for those frames.
template <class Engine>
[[nodiscard]] bool configure(Engine& engine, bool full)
{
    if (!engine.applyDefaultSettings())
        return false;
    engine.setDraEnabled(true);
    engine.setFullMode(full);
    engine.setShelfId("shelf");
    engine.rpcSetLocalIp(boardIp);
    engine.rpcSetLocalMac(boardMac.data());
    return true;
}

} // namespace relayFrames
