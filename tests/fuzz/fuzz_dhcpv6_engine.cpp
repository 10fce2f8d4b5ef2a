#include "OneFrame.h"
#include "relay/v6/dhcpraV6Impl.h"
#include "support/Dhcpv6Frame.h"
#include "support/NodeBuilder.h"

#include <cstdlib>
#include <cstring>

namespace {

using dhcpraTypes::interfaceMode;
using dhcpraTypes::threeStateBool;

/// The board of the seeds: uplink 1, line 7 "0/2/5", line 8 "3/6".
class Board
{
public:
    Board()
    {
        if (!engine.applyDefaultSettings())
            std::abort();
        engine.setShelfId("sh1");
        (void)engine.getInterfaceById(8)->setRemoteIdValV6("remote");
        engine.setFrameSentHook([](const dhcpraV6Message& frame, dhcpraTypes::counterId*) {
            return frame.getDhcpFieldOpcode() != 0;
        });
        engine.setNdpCheckHook([](const icmpV6Message& frame) {
            const wire::ConstBytes icmp = frame.getIcmpHeader();
            const auto last = icmp.size() == 0 ? std::nullopt : icmp.u8(icmp.size() - 1);
            return NdpVerdict{last.value_or(0) % 2 == 0, 1, 2};
        });
    }

    void configure(std::uint8_t flags)
    {
        engine.setDraEnabled((flags & 0x01) == 0);
        engine.setInterfaceID((flags & 0x02) == 0);
        engine.setDraCircuitIdCVlan((flags & 0x04) != 0);
        engine.loggingLevelSet((flags & 0x08) != 0 ? 7 : 3);
        engine.getInterfaceById(1)->setModeV6((flags & 0x10) != 0 ? interfaceMode::SERVERS
                                                                  : interfaceMode::ENABLE);
        engine.getInterfaceById(7)->setModeV6((flags & 0x20) != 0 ? interfaceMode::ENABLE
                                                                  : interfaceMode::CLIENTS);
        engine.getInterfaceById(7)->setCircuitTrustedV6(dhcpraTypes::toThreeState((flags & 0x40) != 0));
        engine.setRemoteIdFormat((flags & 0x80) != 0 ? "$CLNT_MAC $00HEX" : "$PORT_REM_ID");
    }

    void run(std::span<const std::uint8_t> frame)
    {
        io->frame = frame;
        if (engine.getNext())
            engine.handleFrame();
    }

private:
    std::unique_ptr<test::TestNode> node =
        test::NodeBuilder().slot(3).vlan(100).eth(1, "0/1").subscriber(7, "0/2/5").subscriber(8, "3/6").use();
    OneFrame* io = new OneFrame;
    dhcpraV6Impl engine{std::unique_ptr<FrameIo>(io)};
};

} // namespace

/// One byte of settings; then record and frame, of which the record's size is put right.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Board board;
    if (size < 2 || size - 1 > BridgeFrame::capacity)
        return 0;
    board.configure(data[0]);
    board.run({data + 1, size - 1});
    // The search for a size that fits is not what this is about.
    std::vector<std::uint8_t> sized(data + 1, data + size);
    if (sized.size() > 52) {
        const auto full = static_cast<std::uint32_t>(sized.size());
        std::memcpy(&sized[48], &full, sizeof full);
        board.run(sized);
    }
    return 0;
}
