#pragma once

#include <cstdint>
#include <ctime>
#include <sstream>
#include <string>

/**
 * Small static helpers shared across the node's software. The measureTime family sums up the time that code
 * spends between named checkpoints, for operators; it may be used from any thread.
 */
class CZoUtil
{
public:
    /// One checkpoint.
    struct measureTimeData_t
    {
        std::string name;
        std::uint32_t parent = 0; ///< id of the checkpoint that this one is a part of, 0: none
        timespec start{};         ///< monotonic time, 0 when the checkpoint is not running
        std::uint64_t total = 0;  ///< nanoseconds
        std::uint32_t iterations = 0;
    };

    /// "0x0800" for 0x800.
    [[nodiscard]] static std::string ethertypeToString(int type);

    /// "AA:BB:CC:00:11:22" for six bytes; throws std::logic_error for a null pointer.
    [[nodiscard]] static std::string macToString(const unsigned char* mac);

    /// Switches measuring on or off; while it is off, starts and ends do nothing.
    static void measureTimeStateSet(bool on);
    static void measureTimeCheckpointStart(unsigned id, const std::string& name, unsigned parent);
    static void measureTimeCheckpointEnd(unsigned id);

    /// Removes the checkpoint and everything below it; all with id 0.
    static void measureTimeCheckpointClear(unsigned id);

    /// Prints the checkpoint (with id 0: all that have no parent) with up to two levels below it.
    static void measureTimeCheckpointPrint(std::ostringstream* out, unsigned id);

    /// Debug words "measureTimeSet", "measureTimePrint", "measureTimeClear". An id that is no number throws
    /// what std::stoul throws.
    static void measureTimeExtMsg(const std::string& key, const std::string& value, std::ostringstream* out);
};

/// Host to big-endian byte order, on any host.
[[nodiscard]] long long hton_64(long long value);
[[nodiscard]] long long ntoh_64(long long value);
