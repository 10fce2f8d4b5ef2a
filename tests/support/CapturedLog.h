#pragma once

#include "log/Log.h"

#include <mutex>
#include <string>
#include <vector>

/// Catches what goes to the process-wide logger while it lives, every level included. Lines come without the
/// thread stamp in front.
class CapturedLog
{
public:
    struct Line
    {
        LogImpl::logLevel_t level;
        std::string text;
        bool operator==(const Line&) const = default;
    };

    CapturedLog()
    {
        Log& log = singleton<Log>::instance();
        // One past debug: the daemon's own threshold drops debug messages, a test wants to see them.
        log.setLogLevel(static_cast<LogImpl::logLevel_t>(LogImpl::debug + 1));
        log.reset(new BackEnd(shared));
    }
    ~CapturedLog() { singleton<Log>::instance().reset(nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    [[nodiscard]] std::vector<Line> lines() const
    {
        const std::lock_guard guard(shared.mutex);
        return shared.lines;
    }

    /// All texts in order, as one.
    [[nodiscard]] std::string text() const
    {
        std::string all;
        for (const Line& line : lines())
            all += line.text;
        return all;
    }

    [[nodiscard]] bool has(LogImpl::logLevel_t level, const std::string& text) const
    {
        for (const Line& line : lines()) {
            if (line == Line{level, text})
                return true;
        }
        return false;
    }

private:
    struct Shared
    {
        mutable std::mutex mutex;
        std::vector<Line> lines;
    };

    class BackEnd : public LogImpl
    {
    public:
        explicit BackEnd(Shared& to) : LogImpl(true), target(to) {}
        void writeMessageToLog(const logData_t& data) override
        {
            const std::size_t stamp = data.buffer.find("] ");
            const std::lock_guard guard(target.mutex);
            target.lines.push_back(
                {data.level, stamp == std::string::npos ? data.buffer : data.buffer.substr(stamp + 2)});
        }

    private:
        Shared& target;
    };

    Shared shared;
};
