#pragma once

#include <optional>
#include <string>

/// Size in bytes of a regular file (links followed); std::nullopt when there is none at that path, or
/// something that would block or never end when read: a FIFO, a device, a socket, a directory.
[[nodiscard]] std::optional<long long> regularFileSize(const std::string& path);
