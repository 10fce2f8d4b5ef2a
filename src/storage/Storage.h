#pragma once

#include "storage/Setting.h"
#include "storage/StorageItem.h"
#include "storage/StorageMng.h"
