#include "common/RegularFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeAll(int file, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t count = write(file, content.data(), content.size());
        if (count > 0)
            content.remove_prefix(static_cast<std::size_t>(count));
        else if (count == -1 && errno != EINTR)
            return false;
    }
    return true;
}

bool writeInto(const std::string& path, std::string_view content)
{
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file == -1)
        return false;
    const bool written = writeAll(file, content);
    return close(file) == 0 && written;
}

/// The path behind all links; the path itself where there is nothing yet.
std::string withoutLinks(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    return real ? real.get() : path;
}

} // namespace

std::optional<long long> regularFileSize(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return status.st_size;
}

bool replaceFile(const std::string& path, std::string_view content)
{
    struct stat old = {};
    const bool isThere = stat(path.c_str(), &old) == 0;
    if (isThere && !S_ISREG(old.st_mode))
        return writeInto(path, content);

    const std::string target = withoutLinks(path);
    const std::string beside = target + ".new";
    unlink(beside.c_str()); // of a writer that was killed
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file == -1)
        return false;
    const bool keepsAccess =
        !isThere || (fchown(file, old.st_uid, old.st_gid) == 0 && fchmod(file, old.st_mode & ALLPERMS) == 0);
    // Only what is on the disk may take the name, or a power failure would leave an empty file under it.
    const bool written = keepsAccess && writeAll(file, content) && fsync(file) == 0;
    if (close(file) == 0 && written && std::rename(beside.c_str(), target.c_str()) == 0)
        return true;
    unlink(beside.c_str());
    return false;
}
