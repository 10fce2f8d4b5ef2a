#pragma once

#include "storage/Setting.h"

#include <string>

#include <boost/shared_ptr.hpp>

struct _xmlDoc;  // NOLINT(bugprone-reserved-identifier): the names of libxml2
struct _xmlNode; // NOLINT(bugprone-reserved-identifier)

namespace Storage {

/// Largest file that load() accepts and save() writes, bytes. Real settings files have some kilobytes.
inline constexpr long long largestSettingsFile = 8LL * 1024 * 1024;

/**
 * One XML document of settings: below its root element stands one element for each entity, named after it.
 * Reports go to standard output. For one thread at a time, and all managers of a process serially: loading
 * and destruction reset the parser library for the whole process.
 */
class StorageMng
{
public:
    /// Starts with an empty document whose root element is "Configuration".
    StorageMng();
    ~StorageMng();
    StorageMng(const StorageMng&) = delete;
    StorageMng& operator=(const StorageMng&) = delete;

    /// Replaces the document by the file's. After a failure there is no document at all. Never touches the
    /// network, never expands entities without bound, never blocks on a file that is no regular file.
    [[nodiscard]] bool load(const std::string& file);

    /// Writes the document, indented, in UTF-8. The file has the old content or the new one at any time. A
    /// document with names or characters that load() would refuse is refused here, and the file stays.
    [[nodiscard]] bool save(const std::string& file);

    /// First element of that name below the root, or null.
    [[nodiscard]] boost::shared_ptr<Setting> getRoot(const std::string& name) const;

    /// Appends an element below the root; null on failure.
    boost::shared_ptr<Setting> addRoot(const std::string& name);

private:
    void drop();

    _xmlDoc* doc = nullptr;
    _xmlNode* root = nullptr; ///< owned through doc
};

} // namespace Storage
