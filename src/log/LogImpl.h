#pragma once

#include <string>
#include <sys/types.h>

/// Back end of Log: takes whole lines. All calls come under Log::lock, one at a time.
class LogImpl
{
public:
    /// A lower number is more urgent. Any other int may arrive here by setDebugLevel; back ends treat it as
    /// critical.
    enum logLevel_t : int { critical = 0, warning = 1, notice = 2, debug = 3 };

    /// What one thread is writing.
    struct logData_t
    {
        logLevel_t level = critical; ///< level of the message being written
        std::string buffer;          ///< unfinished line, beginning with the thread stamp
        pid_t lwp = 0;               ///< kernel thread id, 0 until the thread's first call
    };

    virtual void writeMessageToLog(const logData_t& data) = 0;
    virtual ~LogImpl() = default;

    LogImpl(const LogImpl&) = delete;
    LogImpl& operator=(const LogImpl&) = delete;

    const bool buffered; ///< false: Log hands over after every single write instead of at each newline

protected:
    explicit LogImpl(bool buffersLines) : buffered(buffersLines) {}
};
