#pragma once

#include "storage/Setting.h"

#include <boost/shared_ptr.hpp>

namespace Storage {

/// Something that can be saved to, and restored from, a settings tree.
class StorageItem
{
public:
    virtual void applyConfiguration(boost::shared_ptr<Setting> settings) = 0;
    virtual void saveConfiguration(boost::shared_ptr<Setting> settings) const = 0;
    virtual ~StorageItem() = default;

    StorageItem(const StorageItem&) = delete;
    StorageItem& operator=(const StorageItem&) = delete;

protected:
    StorageItem() = default;
};

} // namespace Storage
