#pragma once

#include "Xdr.h"

#include <cstdint>
#include <vector>

namespace test {

/// A call and its reply as bytes behind the message headers.
struct Exchange
{
    std::uint32_t procedure;
    Xdr request;
    Xdr reply;
};

/**
 * A story that calls every procedure, written from the wire contract: interface 1 "0/1" (uplink), 7 "0/2/5"
 * (line), 9 (PVC below 7), 20 to 22 (PON port, ONU, GEM port), slot 3. Before it starts, factory settings
 * were applied and interface 7 counted in VLAN 100 two DISCOVERs, three Solicits, four ICMPv6 frames.
 */
[[nodiscard]] std::vector<Exchange> globalExchanges();
[[nodiscard]] std::vector<Exchange> counterExchanges();
[[nodiscard]] std::vector<Exchange> interfaceExchanges();
[[nodiscard]] std::vector<Exchange> intfVlanExchanges();
[[nodiscard]] std::vector<Exchange> eventExchanges();
[[nodiscard]] std::vector<Exchange> serverAndVlanExchanges();
[[nodiscard]] std::vector<Exchange> nodeExchanges();
[[nodiscard]] std::vector<Exchange> globalV6Exchanges();
[[nodiscard]] std::vector<Exchange> interfaceV6Exchanges();
[[nodiscard]] std::vector<Exchange> vlanV6Exchanges();

} // namespace test
