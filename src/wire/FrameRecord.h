#pragma once

#include "wire/Bytes.h"
#include "wire/Ethernet.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <arpa/inet.h>

/**
 * The record that the bridge puts in front of every frame of the pseudo device, and expects in front of every
 * frame that it gets back. Packed; written by the bridge driver. The tag words are in network order, the size
 * and the interface indexes in host order. Reserved bytes belong to the driver and pass through untouched.
 */
struct [[gnu::packed]] zobridge_frame_info
{
    std::uint8_t reserved0[4];
    std::uint16_t vlan_tag1_nf; ///< outer tag control word, network order; VLAN id 0xFFF: no such tag
    std::uint16_t vlan_tag2_nf; ///< inner tag control word, same rules
    std::uint8_t reserved8[40];
    std::uint32_t full_size;      ///< bytes of this record and the frame
    std::uint16_t input_dev_idx;  ///< interface id of the port on which the frame came in
    std::uint16_t output_dev_idx; ///< interface id of the port on which it has to leave
    std::uint8_t reserved56[18];
    char input_dev[16];  ///< name of the ingress port, NUL-terminated unless all 16 bytes are used
    char output_dev[16]; ///< name of the egress port; empty: the index selects it
    std::uint8_t reserved106;
};

namespace wire {

inline constexpr std::size_t recordSize = 107;
/// Size of the daemon's buffer for record and frame together.
inline constexpr std::size_t recordAndFrameMax = 2048;

static_assert(sizeof(zobridge_frame_info) == recordSize && alignof(zobridge_frame_info) == 1);
static_assert(offsetof(zobridge_frame_info, vlan_tag1_nf) == 4);
static_assert(offsetof(zobridge_frame_info, vlan_tag2_nf) == 6);
static_assert(offsetof(zobridge_frame_info, full_size) == 48);
static_assert(offsetof(zobridge_frame_info, input_dev_idx) == 52);
static_assert(offsetof(zobridge_frame_info, output_dev_idx) == 54);
static_assert(offsetof(zobridge_frame_info, input_dev) == 74);
static_assert(offsetof(zobridge_frame_info, output_dev) == 90);

/// VLAN id that says "no such tag".
inline constexpr std::uint16_t noVlan = 0x0FFF;

/// VLAN id of a tag control word in network order.
[[nodiscard]] inline std::uint16_t vlanIdOf(std::uint16_t networkOrderTag)
{
    return ntohs(networkOrderTag) & vlanIdMask;
}

/// The tag control word with another VLAN id; priority and drop eligible bit stay. Both in network order.
[[nodiscard]] std::uint16_t withVlanId(std::uint16_t networkOrderTag, std::uint16_t vlanId);

/// The record in front of a frame; nothing if it is not there in full.
[[nodiscard]] std::optional<zobridge_frame_info> readRecord(ConstBytes recordAndFrame);

/// An interface name of the record, without what follows its NUL; never more than the 16 bytes.
[[nodiscard]] std::string_view recordName(const char (&name)[16]);

/// Zeroes the 16 bytes and copies at most 15 characters.
void setRecordName(char (&name)[16], std::string_view text);

} // namespace wire
