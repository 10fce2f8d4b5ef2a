#include "rte/BLL/core/LockReportMemory.h"

#include <algorithm>

namespace {

using Mutex = recursiveSharedMutex_t;

bool sameLevels(const Mutex::stateData& a, const Mutex::stateData& b)
{
    return a.lwpId == b.lwpId && a.sharedCount == b.sharedCount && a.exclusiveCount == b.exclusiveCount &&
           a.waitingExclusive == b.waitingExclusive;
}

/// Only who holds something now counts: threads that wait without holding, and holders that let go, come and
/// go in one and the same deadlock.
bool sameHolders(const Mutex::stateMap_t& now, const Mutex::stateMap_t& before)
{
    return std::all_of(now.begin(), now.end(), [&before](const auto& entry) {
        if (entry.second.sharedCount == 0 && entry.second.exclusiveCount == 0)
            return true;
        const auto known = before.find(entry.first);
        return known != before.end() && sameLevels(entry.second, known->second);
    });
}

} // namespace

LockReportMemory::Verdict LockReportMemory::judge(const lockError_t& error, std::time_t now)
{
    if (!stored)
        stored = error;
    if (!sameHolders(error.stateMap, stored->stateMap)) {
        reportPeriod = firstPeriod;
        return Verdict::report;
    }
    if (lastReportTime != 0 && now - lastReportTime < reportPeriod)
        return Verdict::stillActive;
    reportPeriod *= 2;
    return Verdict::report;
}

void LockReportMemory::reported(const lockError_t& error, std::time_t now)
{
    lastReportTime = now;
    stored = error;
}
