#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

#include "rte/BLL/core/recursiveSharedMutex_t.h"

/**
 * Decides which failures to get a lock are reported in full: every new set of holders, and an unchanged one
 * after 90, 180, 360... seconds. Has no mutex of its own; callers hold the report mutex.
 */
class LockReportMemory
{
public:
    using lockError_t = recursiveSharedMutex_t::lockError_t;

    enum class Verdict { report, stillActive };

    /// Compares @p error with the last one reported. The very first one counts as unchanged.
    Verdict judge(const lockError_t& error, std::time_t now);

    /// To be called when a full report is out.
    void reported(const lockError_t& error, std::time_t now);

private:
    static constexpr std::int64_t firstPeriod = 45;

    std::optional<lockError_t> stored;
    std::time_t lastReportTime = 0; ///< 0: no report yet
    std::int64_t reportPeriod = firstPeriod;
};
