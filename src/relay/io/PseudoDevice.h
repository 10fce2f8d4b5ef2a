#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>

/// Argument of the bridge's attach call: which application filter delivers to which device.
using BridgeAttachRecord = std::array<std::uint8_t, 36>;
inline constexpr unsigned long bridgeAttachRequest = 0x40047AC8;

[[nodiscard]] BridgeAttachRecord bridgeAttachRecord(std::string_view filter, std::string_view device);

/// Asks the bridge for the pseudo device and brings it up. A device that cannot be made is only logged: it
/// may be there from an earlier run. False, with the reason in the log, when a new one does not come up.
[[nodiscard]] bool makePseudoDevice(const char* device);

/// An application filter of the bridge, and what is logged when it refuses it.
struct FilterAttachment
{
    const char* filter;
    const char* refusal;
};

/// Lets the filters deliver to the device, in their order; false, with the reason in the log, at the first
/// that cannot be attached. @p path is the bridge's driver node.
[[nodiscard]] bool attachFilters(const char* path, const char* device,
                                 std::initializer_list<FilterAttachment> filters);

/// The bridge's driver node, open for attach calls while the object lives. A failed open is logged.
class BridgeNode
{
public:
    explicit BridgeNode(const char* path);
    ~BridgeNode();
    BridgeNode(const BridgeNode&) = delete;
    BridgeNode& operator=(const BridgeNode&) = delete;

    [[nodiscard]] bool isOpen() const { return fd >= 0; }

    /// Lets the application filter deliver to the device. A refusal is the caller's to log.
    [[nodiscard]] bool attach(const char* filter, const char* device) const;

private:
    const int fd;
};
