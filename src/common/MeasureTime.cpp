#include "common/CZoUtil.h"
#include "common/Clock.h"

#include <atomic>
#include <iomanip>
#include <map>
#include <mutex>
#include <stdexcept>
#include <vector>

// The measureTime family of CZoUtil.

namespace {

using Data = CZoUtil::measureTimeData_t;
using Checkpoints = std::map<std::uint32_t, Data>;

std::atomic<bool> measureTimeState{false};

/// Loaded libraries may set checkpoints from threads of their own. Never destroyed, as they may do so late.
struct Table
{
    std::mutex leaf;
    Checkpoints measureTimeMap; ///< guarded by leaf
};

Table& table()
{
    static Table* const obj = new Table;
    return *obj;
}

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;

timespec monotonicNow()
{
    using namespace std::chrono;
    const auto now = duration_cast<nanoseconds>(Clock::steady().time_since_epoch()).count();
    return {static_cast<std::time_t>(now / 1'000'000'000), static_cast<long>(now % 1'000'000'000)};
}

std::uint64_t toNanoseconds(const timespec& time)
{
    return static_cast<std::uint64_t>(time.tv_sec) * nanosecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

double toSeconds(std::uint64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / static_cast<double>(nanosecondsPerSecond);
}

double percentOf(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

std::vector<std::uint32_t> childrenOf(const Checkpoints& map, std::uint32_t id)
{
    std::vector<std::uint32_t> children;
    for (const auto& [child, data] : map) {
        if (data.parent == id)
            children.push_back(child);
    }
    return children;
}

constexpr int deepestLevel = 3;

/// One row and those below it. The level ends the walk, so parents that form a circle do no harm.
void printRow(std::ostringstream& out, const Checkpoints& map, std::uint32_t id, std::uint64_t whole,
              int level)
{
    const Data& data = map.at(id);
    const std::string indent(static_cast<std::size_t>(2 * (level - 1)), ' ');
    const double average = data.iterations == 0 ? 0.0 : toSeconds(data.total) / data.iterations;
    out << ' ' << std::left << std::setw(12) << indent + std::to_string(id) << std::right << " | "
        << std::setw(13) << std::setprecision(2) << percentOf(data.total, whole) << " | "
        << std::setprecision(6) << std::setw(13) << toSeconds(data.total) << " | " << std::setw(10)
        << data.iterations << " | " << std::setprecision(9) << std::setw(16) << average << " | " << indent
        << data.name << '\n';
    if (level == deepestLevel)
        return;
    for (const std::uint32_t child : childrenOf(map, id))
        printRow(out, map, child, data.total, level + 1);
}

std::uint32_t idFrom(const std::string& value)
{
    if (value.empty())
        return 0;
    const unsigned long id = std::stoul(value);
    if (id > UINT32_MAX)
        throw std::out_of_range("stoul");
    return static_cast<std::uint32_t>(id);
}

} // namespace

void CZoUtil::measureTimeStateSet(bool on) { measureTimeState.store(on, std::memory_order_relaxed); }

void CZoUtil::measureTimeCheckpointStart(unsigned id, const std::string& name, unsigned parent)
{
    if (!measureTimeState.load(std::memory_order_relaxed))
        return;
    const std::lock_guard guard(table().leaf);
    const auto [row, isNew] = table().measureTimeMap.try_emplace(id);
    Data& data = row->second;
    if (isNew) {
        data.name = name;
        data.parent = parent;
    }
    ++data.iterations;
    data.start = monotonicNow();
}

void CZoUtil::measureTimeCheckpointEnd(unsigned id)
{
    if (!measureTimeState.load(std::memory_order_relaxed))
        return;
    const timespec now = monotonicNow();
    const std::lock_guard guard(table().leaf);
    const auto row = table().measureTimeMap.find(id);
    if (row == table().measureTimeMap.end())
        return;
    Data& data = row->second;
    // Not running, as after a second end: counting from time 0 would add the whole uptime.
    if (data.start.tv_sec == 0 && data.start.tv_nsec == 0)
        return;
    data.total += toNanoseconds(now) - toNanoseconds(data.start);
    data.start = {};
}

void CZoUtil::measureTimeCheckpointClear(unsigned id)
{
    const std::lock_guard guard(table().leaf);
    Checkpoints& map = table().measureTimeMap;
    if (id == 0) {
        map.clear();
        return;
    }
    std::vector<std::uint32_t> waiting{id};
    while (!waiting.empty()) {
        const std::uint32_t next = waiting.back();
        waiting.pop_back();
        // Also below a checkpoint without a row of its own, as when measuring began inside it. A circle of
        // parents ends, because rows that have gone are nobody's children.
        map.erase(next);
        for (const std::uint32_t child : childrenOf(map, next))
            waiting.push_back(child);
    }
}

void CZoUtil::measureTimeCheckpointPrint(std::ostringstream* out, unsigned id)
{
    const std::lock_guard guard(table().leaf);
    const Checkpoints& map = table().measureTimeMap;
    std::vector<std::uint32_t> top;
    if (id == 0)
        top = childrenOf(map, 0);
    else if (map.contains(id))
        top.push_back(id);
    std::uint64_t sum = 0;
    for (const std::uint32_t row : top)
        sum += map.at(row).total;

    std::ostringstream text; // formats stay off the caller's stream
    text
        << std::fixed << std::setprecision(6)
        << "\n Time Measuring: " << (measureTimeState.load(std::memory_order_relaxed) ? "On" : "Off")
        << "\n Total Time Spent(s): " << toSeconds(sum) << "\n\n"
        << " CheckpointId | Time Spent(%) | Time Spent(s) | Iterations | Avg Iter Time(s) | Checkpoint Name\n"
        << ' ' << std::string(94, '-') << '\n';
    for (const std::uint32_t row : top)
        printRow(text, map, row, sum, 1);
    text << "Note: the above table is max 3 levels deep. For lower levels select specific checkpoint.\n";
    *out << text.str();
}

void CZoUtil::measureTimeExtMsg(const std::string& key, const std::string& value, std::ostringstream* out)
{
    if (key == "measureTimeSet") {
        const bool on = value != "off";
        measureTimeStateSet(on);
        *out << " Time measuring set to: " << (on ? "On" : "Off") << '\n';
    } else if (key == "measureTimePrint") {
        measureTimeCheckpointPrint(out, idFrom(value));
    } else if (key == "measureTimeClear") {
        const std::uint32_t id = idFrom(value);
        measureTimeCheckpointClear(id);
        *out << " Time measuring data cleared for checkpoint " << id << '\n';
    }
}
