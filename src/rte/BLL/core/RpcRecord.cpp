#include "rte/BLL/core/RpcRecord.h"

#include <algorithm>
#include <arpa/inet.h>
#include <bit>

namespace {

constexpr std::uint32_t lastFragment = 0x8000'0000U;

/// A message of usual size keeps its memory for the next one; a large one gives it back.
constexpr std::size_t keptMemory = std::size_t{8} * 1024;

std::span<const std::uint8_t> takeFront(std::span<const std::uint8_t>& input, std::size_t most)
{
    const auto front = input.first(std::min(most, input.size()));
    input = input.subspan(front.size());
    return front;
}

} // namespace

bool RpcRecord::takeMark(std::span<const std::uint8_t>& input)
{
    const auto part = takeFront(input, mark.size() - markSize);
    std::ranges::copy(part, mark.begin() + static_cast<std::ptrdiff_t>(markSize));
    markSize += part.size();
    return markSize == mark.size();
}

RpcRecord::State RpcRecord::take(std::span<const std::uint8_t>& input)
{
    while (true) {
        if (markSize < mark.size()) {
            if (!takeMark(input))
                return State::incomplete;
            const std::uint32_t value = ntohl(std::bit_cast<std::uint32_t>(mark));
            isLast = (value & lastFragment) != 0;
            missing = value & ~lastFragment;
            if (missing > largest - message.size())
                return State::tooLarge;
        }
        const auto part = takeFront(input, missing);
        message.insert(message.end(), part.begin(), part.end());
        missing -= part.size();
        if (missing != 0)
            return State::incomplete;
        markSize = 0;
        if (isLast)
            return State::complete;
    }
}

void RpcRecord::clear()
{
    message.clear();
    if (message.capacity() > keptMemory)
        message.shrink_to_fit();
}
