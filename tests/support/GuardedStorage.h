#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace test {

/// 2048 bytes that end where a page begins that nobody may touch.
class GuardedStorage
{
public:
    static constexpr std::size_t size = 2048;

    GuardedStorage()
        : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          base(static_cast<std::uint8_t*>(
              mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        if (base == MAP_FAILED || mprotect(base + page, page, PROT_NONE) != 0)
            throw std::runtime_error("no guard page");
    }
    ~GuardedStorage() { munmap(base, 2 * page); }
    GuardedStorage(const GuardedStorage&) = delete;
    GuardedStorage& operator=(const GuardedStorage&) = delete;

    [[nodiscard]] std::span<std::uint8_t> bytes() const { return {base + page - size, size}; }

private:
    std::size_t page;
    std::uint8_t* base;
};

} // namespace test
