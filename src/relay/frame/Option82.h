#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

class DebugSink;

/// Size rules and encoding of the relay agent information option (RFC 3046): code 82, length, sub-options.
namespace frame {

inline constexpr std::uint8_t subOptionCircuitId = 1;
inline constexpr std::uint8_t subOptionRemoteId = 2;

/// Value of one sub-option next to its code and length, in an option value of 255 bytes.
inline constexpr std::size_t subOptionLimit = 253;
inline constexpr std::size_t bothSubOptionsLimit = 251;
/// Ethernet frame, option header, ids and sub-option overhead stay below this, whatever the device's MTU.
inline constexpr std::size_t frameSizeLimit = 1500;

struct Option82Sizes
{
    std::size_t circuit = 0;
    std::size_t remote = 0;

    friend bool operator==(const Option82Sizes&, const Option82Sizes&) = default;
};

/// How much of each id goes in: the circuit id first, the remote id in what is left. @p sink may be null.
[[nodiscard]] Option82Sizes fitOption82(Option82Sizes wanted, const DebugSink* sink);

/// An encoded option in a zeroed work buffer.
struct Option82Bytes
{
    std::array<std::uint8_t, 516> bytes{};
    std::size_t size = 0;

    [[nodiscard]] std::span<const std::uint8_t> span() const { return std::span(bytes).first(size); }
};

/// Circuit id, then remote id; an empty one is left out with its sub-option. Sizes as fitOption82 answers
/// them.
[[nodiscard]] Option82Bytes encodeOption82(std::span<const std::uint8_t> circuitId,
                                           std::span<const std::uint8_t> remoteId);

} // namespace frame
