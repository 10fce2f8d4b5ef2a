#include "relay/io/FrameSocket.h"
#include "relay/v4/dhcpraImpl.h"
#include "support/DhcpFrame.h"
#include "support/NodeBuilder.h"

#include <array>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t boardIp = test::ip(10, 0, 0, 1);
constexpr test::Mac boardMac{2, 0, 0x5E, 0, 0, 0xFE};
constexpr std::uint32_t lastXid = 0x50F7CA5E;

struct SilentSink final : DebugSink
{
    [[nodiscard]] bool wantsDebugText() const override { return false; }
    void log(const char*, ...) const override {}
};

class NoServers final : public ServerSender
{
public:
    [[nodiscard]] bool open() override { return true; }
    [[nodiscard]] bool allowRouting() override { return true; }
    void send(std::uint32_t, std::span<const std::uint8_t> payload) override
    {
        if (payload.size() > BridgeFrame::capacity)
            std::abort();
    }
    void close() override {}
};

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

    /// The frame, and behind it one of ours that ends the reading whatever became of the first.
    void run(std::span<const std::uint8_t> frame)
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0)
            std::abort();
        socket->adopt(ends[0]);
        (void)::send(ends[1], frame.data(), frame.size(), MSG_DONTWAIT);
        (void)::send(ends[1], last.data(), last.size(), MSG_DONTWAIT);
        do {
            if (!engine.getNext())
                std::abort();
            engine.handleFrame();
        } while (engine.message().getDhcpFieldTransactId() != lastXid);
        expectWholeFrames(ends[1]);
        ::close(ends[1]);
    }

private:
    static void expectWholeFrames(int peer)
    {
        std::array<std::uint8_t, BridgeFrame::capacity + 1> out{};
        ssize_t size = 0;
        while ((size = ::recv(peer, out.data(), out.size(), MSG_DONTWAIT)) > 0) {
            if (size > static_cast<ssize_t>(BridgeFrame::capacity))
                std::abort();
        }
    }

    std::unique_ptr<test::TestNode> node = test::NodeBuilder()
                                               .slot(3)
                                               .mac(boardMac)
                                               .vlan(100)
                                               .eth(1, "0/1")
                                               .subscriber(7, "0/2/5")
                                               .subscriber(19, "0/4")
                                               .interface(20, Interfaces::interfaceType::pvc, "0/4.1", 19)
                                               .use();
    SilentSink sink;
    FrameSocket* socket = new FrameSocket("br0_fuzz", sink);
    dhcpraImpl engine{std::unique_ptr<FrameIo>(socket), std::make_unique<NoServers>()};
    const test::Bytes last = test::discover().on(999).xid(lastXid).build();
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
