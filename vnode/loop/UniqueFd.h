#pragma once

#include <unistd.h>
#include <utility>

namespace vnode {

/// Owner of a file descriptor; -1 owns nothing.
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) : fd(descriptor) {}
    UniqueFd(UniqueFd&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.fd, -1));
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    void reset(int descriptor = -1)
    {
        if (fd >= 0)
            ::close(fd);
        fd = descriptor;
    }
    [[nodiscard]] int get() const { return fd; }
    [[nodiscard]] int release() { return std::exchange(fd, -1); }
    [[nodiscard]] explicit operator bool() const { return fd >= 0; }

private:
    int fd = -1;
};

} // namespace vnode
