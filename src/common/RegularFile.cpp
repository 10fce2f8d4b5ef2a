#include "common/RegularFile.h"

#include <sys/stat.h>

std::optional<long long> regularFileSize(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return status.st_size;
}
