#pragma once

#include <cstddef>
#include <sys/types.h>

/**
 * The bridge driver's file nodes. No product code opens, controls or writes a driver path by any other way.
 * Calls have the shape and the errno of the system calls of the same names: -1 on failure.
 */
namespace driver {

[[nodiscard]] int open(const char* path, int flags);
[[nodiscard]] int ioctl(int fd, unsigned long request, void* argument);
[[nodiscard]] ssize_t write(int fd, const void* data, std::size_t size);
int close(int fd);

} // namespace driver
