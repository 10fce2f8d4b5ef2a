#pragma once

#include "vnode/model/Counters.h"
#include "vnode/model/Filters.h"
#include "vnode/model/MacTable.h"
#include "vnode/model/Picture.h"
#include "vnode/model/Ports.h"
#include "wire/FrameRecord.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vnode {

/// What becomes of a frame. One object serves frame after frame without new memory.
struct Decision
{
    enum class Kind : std::uint8_t { drop, forward, divert };

    Kind kind = Kind::drop;
    Drop reason = Drop::none;
    std::uint32_t ingress = 0;           ///< interface it came in on; 0: unknown
    std::span<const std::uint8_t> frame; ///< the caller's bytes, without a record
    std::size_t rest = 0;                ///< where @ref frame goes on behind MACs and outer tag
    std::vector<Egress> outputs;         ///< forward: at least one
    std::string device;                  ///< divert: the pseudo device
    std::vector<std::uint8_t> diverted;  ///< divert: record and frame

    /// Bytes of the frame as it leaves on @p egress, into @p out.
    void compose(const Egress& egress, std::vector<std::uint8_t>& out) const;
};

/// The learning bridge. It decides, learns and counts; sending is the caller's.
class Bridge
{
public:
    Bridge(const NodeDescription& description, const Picture& picture, const Filters& filters);

    /// A whole frame (tags in place, checksum finished) came in on device number @p device.
    void receive(std::size_t device, std::span<const std::uint8_t> frame, Time now, Decision& decision);

    /// The daemon sent @p bytes, record and frame, to a pseudo device.
    void inject(std::span<const std::uint8_t> bytes, Time now, Decision& decision);

    [[nodiscard]] const Ports& ports() const { return portTable; }
    [[nodiscard]] MacTable& macs() { return macTable; }
    [[nodiscard]] const MacTable& macs() const { return macTable; }
    [[nodiscard]] const Counters& counters() const { return counts; }
    void clearCounters() { counts = {}; }

private:
    /// Known unicast, the node's own MAC, or flood; learning and counting left out.
    void forward(const MacAddress& destination, const Tag& tag, std::uint32_t from, Time now,
                 Decision& decision) const;
    void sendTo(std::uint32_t interfaceId, const Tag& tag, Decision& decision) const;
    void flood(const Tag& tag, std::uint32_t from, Decision& decision) const;
    void learn(const EtherHeader& header, const Ingress& ingress, Time now);
    void divert(const EtherHeader& header, const Ingress& ingress, const std::string& device,
                Decision& decision) const;
    void output(const zobridge_frame_info& record, const EtherHeader& header, Time now,
                Decision& decision) const;
    void count(const Decision& decision);

    const Picture& picture;
    const Filters& filters;
    Ports portTable;
    MacTable macTable;
    Counters counts;
};

} // namespace vnode
