#include "OneFrame.h"
#include "relay/v4/dhcpraImpl.h"
#include "support/DhcpFrame.h"
#include "support/FakeFrameIo.h"
#include "support/NodeBuilder.h"

namespace {

constexpr std::uint32_t boardIp = test::ip(10, 0, 0, 1);
constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};

/// The board of the seeds: uplink 1, line 7 "0/2/5", PVC 20 below line 19.
class Board
{
public:
    Board()
    {
        if (!engine.applyDefaultSettings())
            std::abort();
        engine.setShelfId("sh1");
        engine.rpcSetLocalIp(boardIp);
        engine.rpcSetLocalMac(boardMac.data());
        engine.getInterfaceById(20)->setCircuitIdMode(dhcpraInterface::DHCPRA_INTF_CIRMODE_ATM);
        engine.setCircuitIdModeATMParams(20, 19, 8, 35);
    }

    void configure(std::uint8_t flags)
    {
        engine.setDraEnabled((flags & 0x01) == 0);
        engine.setFullMode((flags & 0x02) != 0);
        engine.setCircuitTrusted((flags & 0x04) != 0);
        engine.setUnicastExtension((flags & 0x08) != 0);
        engine.setKeepOpt82((flags & 0x10) != 0);
        engine.loggingLevelSet((flags & 0x20) != 0 ? 7 : 3);
        engine.setInsertRemoteID((flags & 0x40) != 0);
        engine.getInterfaceById(7)->setCircuitIdMode((flags & 0x80) != 0
                                                         ? dhcpraInterface::DHCPRA_INTF_CIRMODE_CUSTOM
                                                         : dhcpraInterface::DHCPRA_INTF_CIRMODE_KORVANEL);
    }

    void run(std::span<const std::uint8_t> frame)
    {
        io->frame = frame;
        if (engine.getNext())
            engine.handleFrame();
        for (const auto& datagram : udp->sent)
            if (datagram.payload.size() > BridgeFrame::capacity)
                std::abort();
        udp->sent.clear();
    }

private:
    std::unique_ptr<test::TestNode> node = test::NodeBuilder()
                                               .slot(3)
                                               .mac(boardMac)
                                               .vlan(100)
                                               .eth(1, "0/1")
                                               .subscriber(7, "0/2/5")
                                               .subscriber(19, "0/4")
                                               .interface(20, Interfaces::interfaceType::pvc, "0/4.1", 19)
                                               .use();
    OneFrame* io = new OneFrame;
    test::FakeServerSender* udp = new test::FakeServerSender;
    dhcpraImpl engine{std::unique_ptr<FrameIo>(io), std::unique_ptr<ServerSender>(udp)};
};

} // namespace

/// One byte of settings, one that is free; then record and frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The history of clients grows by contract, so a board serves for a while only.
    static std::unique_ptr<Board> board;
    static unsigned runs = 0;
    if (runs++ % 100000 == 0) {
        board.reset();
        board = std::make_unique<Board>();
    }
    // Longer ones do not pass the device, an empty one would end the reading.
    if (size < 3 || size - 2 > BridgeFrame::capacity)
        return 0;
    board->configure(data[0]);
    board->run({data + 2, size - 2});
    return 0;
}
