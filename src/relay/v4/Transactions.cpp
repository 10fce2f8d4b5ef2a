#include "relay/v4/Transactions.h"

#include <algorithm>

ClientFrame Transactions::clientFrameOf(const dhcpraMessage& frame)
{
    ClientFrame client{.xid = frame.getDhcpFieldTransactId(),
                       .mac = std::nullopt,
                       .vlan = frame.getFrameVlan(),
                       .cvlan = frame.getFrameCVlan(),
                       .ethType = frame.getFrameEthType(),
                       .cEthType = frame.getFrameCEthType(),
                       .messageType = frame.getMessageType()};
    if (const std::uint8_t* chaddr = frame.getDhcpFieldChaddr(); chaddr != nullptr)
        std::copy_n(chaddr, client.mac.emplace().size(), client.mac->begin());
    return client;
}
