#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/**
 * One RPC message on a stream, put together from its fragments (record marking, RFC 5531 section 11). Each
 * fragment is preceded by four bytes: the top bit marks the last fragment, the rest is the fragment's length.
 */
class RpcRecord
{
public:
    /// Largest message, bytes. The memory that a peer can make this process use ends here.
    static constexpr std::size_t largest = std::size_t{256} * 1024;

    enum class State {
        incomplete,
        complete,
        tooLarge, ///< the stream can't be read on: where the next message begins is unknown
    };

    /// Takes bytes from the front of @p input until the message is complete; what is left of @p input belongs
    /// to the next one. After a complete message clear() comes first.
    [[nodiscard]] State take(std::span<const std::uint8_t>& input);

    /// The message without its marks.
    [[nodiscard]] std::span<std::uint8_t> bytes() { return message; }

    void clear();

private:
    [[nodiscard]] bool takeMark(std::span<const std::uint8_t>& input);

    std::array<std::uint8_t, 4> mark{};
    std::size_t markSize = 0;
    std::size_t missing = 0; ///< bytes of the present fragment that have not come yet
    bool isLast = false;
    std::vector<std::uint8_t> message;
};
