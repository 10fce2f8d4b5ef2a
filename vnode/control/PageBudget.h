#pragma once

#include "vnode_control.h"

#include <cstddef>

namespace vnode::control {

/// How much goes into one page of a long list: little enough for a socket's send buffer, so that the node
/// never waits for a client, and at least one row.
class PageBudget
{
public:
    /// True when a row of about @p bytes still belongs to the page.
    [[nodiscard]] bool take(std::size_t bytes)
    {
        const bool fits = rows == 0 || (used + bytes <= pageBytes && rows < VNODE_ROWS_MAX);
        used += bytes;
        ++rows;
        return fits;
    }

private:
    static constexpr std::size_t pageBytes = 32768;

    std::size_t used = 0;
    std::size_t rows = 0;
};

} // namespace vnode::control
