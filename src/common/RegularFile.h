#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Size in bytes of a regular file (links followed); std::nullopt when there is none at that path, or
/// something that would block or never end when read: a FIFO, a device, a socket, a directory.
[[nodiscard]] std::optional<long long> regularFileSize(const std::string& path);

/**
 * Makes @p content the content of the file, whole or not at all: it is written to a file beside it, PATH.new,
 * which then takes the other's name. Whoever reads finds the old content or the new one, also when the writer
 * is killed. Links are followed, the permissions of a file that is there stay. What is there and is no
 * regular file, such as a device, is written to. For one writer of a file at a time.
 *
 * @return false when anything failed; the file is as it was.
 */
[[nodiscard]] bool replaceFile(const std::string& path, std::string_view content);
