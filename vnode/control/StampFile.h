#pragma once

#include "vnode/loop/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vnode::control {

struct StampPage;

/// Path of the file beside a control socket in which the node publishes its stamp.
[[nodiscard]] std::string stampPathOf(const std::string& socketPath);

/// A page shared through a file; used by the two classes below only.
class MappedStamp
{
public:
    MappedStamp() = default;
    MappedStamp(MappedStamp&& other) noexcept;
    MappedStamp& operator=(MappedStamp&& other) noexcept;
    ~MappedStamp();

    [[nodiscard]] bool map(int fd, bool writable);
    [[nodiscard]] StampPage* get() const { return page; }

private:
    StampPage* page = nullptr;
};

/**
 * The node's side: one number that grows with each change of the configuration, and goes on growing when the
 * node is started again. Holds the file locked, so that one node at a time serves a socket.
 */
class StampPublisher
{
public:
    ~StampPublisher(); ///< tells readers that the node is gone, and removes the file

    /// Makes or takes over the file; false when another node holds it or it cannot be made, with the reason.
    [[nodiscard]] bool open(const std::string& path, std::string& reason);

    /// Publishes the model's generation @p generation.
    void publish(std::uint64_t generation);
    [[nodiscard]] std::uint64_t stamp() const { return published; }

private:
    std::string path;
    UniqueFd file;
    MappedStamp mapping;
    std::uint64_t base = 0; ///< last stamp of the node that had the file before
    std::uint64_t published = 0;
};

/// The daemon's side: reading the stamp costs no system call. Not thread-safe but for stamp().
class StampReader
{
public:
    explicit StampReader(std::string filePath) : path(std::move(filePath)) {}

    /// The node's stamp; nothing when no node has published one here.
    [[nodiscard]] std::optional<std::uint64_t> stamp() const;

    /// Looks whether the file is still the one that is mapped and its node still alive, and maps anew if not.
    void revalidate();

private:
    [[nodiscard]] bool isCurrent() const;

    std::string path;
    UniqueFd file;
    MappedStamp mapping;
    bool publisherLives = false;
};

} // namespace vnode::control
