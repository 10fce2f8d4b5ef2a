#pragma once

#include "common/singleton.h"
#include "log/LogImpl.h"

#include <atomic>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

/**
 * The process-wide logger, reached through singleton<Log>::instance(). A message is put together by many
 * small writes; each thread has a buffer of its own and a line goes to the back end only when its newline
 * arrives, so the pieces of different threads never mix. The calling pattern: setMsgLevel(), then one or more
 * writes, the last ending in a newline; see logText() in log/LogText.h for doing that in one call.
 *
 * All operations may be called from any thread and at any time, static construction and destruction included.
 * Until reset() has brought a back end, everything written is dropped. The back end is called with Log::lock
 * held: when it blocks, every thread that logs waits for it (docs/logging.md).
 */
class Log
{
public:
    using logLevel_t = LogImpl::logLevel_t;
    using logData_t = LogImpl::logData_t;

    Log() = default;
    ~Log() = default;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    /// Guards everything in every Log. Built on first use and never destroyed, so that static constructors
    /// and destructors of any translation unit may log.
    static boost::mutex& lock();

    /// Sets the threshold: only messages below it (more urgent) pass. Takes no lock.
    void setLogLevel(logLevel_t level) { logLevel.store(level, std::memory_order_relaxed); }

    /// Sets the calling thread's level for what it writes next; stays until the next call.
    void setMsgLevel(logLevel_t level);

    /// With @p enabled, forces @p level on every message that any thread starts from now on; says so on @p
    /// out.
    void setDebugLevel(std::ostringstream* out, logLevel_t level, bool enabled);

    /// Deletes the present back end and takes ownership of @p backEnd (null: writes are dropped again).
    void reset(LogImpl* backEnd);

    /// Writes one value: const char*, int, unsigned int, unsigned short or std::string.
    template <typename T>
    Log& write(T value);

    Log& operator<<(const std::string& text) { return writeImpl(text); }

    /// Core of all writes: filters, appends, hands whole lines to the back end.
    Log& writeImpl(const std::string& text);

    /// Appends "[kernel thread id] " to the buffer.
    static void ThreadStamp(logData_t& data);

private:
    logData_t& ownRecord();
    void appendPiece(logData_t& data, const std::string& text, std::size_t from, std::size_t count);
    void flush(logData_t& data);

    // Guarded by lock(), except the threshold.
    std::map<boost::thread::id, logData_t> threads;
    std::atomic<logLevel_t> logLevel{LogImpl::critical};
    std::unique_ptr<LogImpl> impl;
    bool debugLevelEnabled = false;
    logLevel_t debugLevel = LogImpl::debug;
};

/// The one logger is never destroyed: threads and static destructors may still write while the process ends.
template <>
Log& singleton<Log>::instance();

template <typename T>
Log& Log::write(T value)
{
    static_assert(std::is_same_v<T, const char*> || std::is_same_v<T, char*> || std::is_same_v<T, int> ||
                      std::is_same_v<T, unsigned int> || std::is_same_v<T, unsigned short> ||
                      std::is_same_v<T, std::string>,
                  "Log writes texts, int, unsigned int and unsigned short");
    if constexpr (std::is_same_v<T, std::string>)
        return writeImpl(value);
    else if constexpr (std::is_pointer_v<T>)
        return writeImpl(value == nullptr ? std::string() : std::string(value));
    else
        return writeImpl(std::to_string(value));
}
