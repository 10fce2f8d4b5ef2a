#include "log/Log.h"

#include <new>
#include <unistd.h>

namespace {

/// Longest unfinished line, stamp included; a thread that never ends its line must not grow without bound.
constexpr std::size_t longestLine = 999;

const char* levelName(LogImpl::logLevel_t level)
{
    switch (level) {
    case LogImpl::critical:
        return "Critical(";
    case LogImpl::warning:
        return "Warning(";
    case LogImpl::notice:
        return "Notice(";
    case LogImpl::debug:
        return "Debug(";
    }
    return "unknown(";
}

} // namespace

template <>
Log& singleton<Log>::instance()
{
    static Log* const obj = new Log;
    return *obj;
}

boost::mutex& Log::lock()
{
    static boost::mutex* const mutex = new boost::mutex;
    return *mutex;
}

Log::logData_t& Log::ownRecord()
{
    logData_t& record = threads[boost::this_thread::get_id()];
    const pid_t lwp = gettid();
    // The id of a thread that has ended is given to a new one, which must not go on with the line and the
    // level of its predecessor. The kernel's id tells the two apart.
    if (record.lwp != lwp)
        record = logData_t{LogImpl::critical, {}, lwp};
    return record;
}

void Log::setMsgLevel(logLevel_t level)
{
    const boost::lock_guard<boost::mutex> guard(lock());
    if (impl)
        ownRecord().level = debugLevelEnabled ? debugLevel : level;
}

void Log::setDebugLevel(std::ostringstream* out, logLevel_t level, bool enabled)
{
    {
        const boost::lock_guard<boost::mutex> guard(lock());
        debugLevelEnabled = enabled;
        if (enabled)
            debugLevel = level;
    }
    if (out == nullptr)
        return;
    if (enabled)
        *out << "Debug level set to " << levelName(level) << static_cast<int>(level) << ")\n";
    else
        *out << "Debug level disabled\n";
}

void Log::reset(LogImpl* backEnd)
{
    std::unique_ptr<LogImpl> next(backEnd);
    const boost::lock_guard<boost::mutex> guard(lock());
    impl.swap(next);
    next.reset(); // under the lock: the old back end may share state, such as openlog's, with the new
}

void Log::ThreadStamp(logData_t& data)
{
    data.buffer.append("[").append(std::to_string(data.lwp)).append("] ");
}

void Log::flush(logData_t& data)
{
    impl->writeMessageToLog(data);
    data.buffer.clear();
    ThreadStamp(data);
}

void Log::appendPiece(logData_t& data, const std::string& text, std::size_t from, std::size_t count)
{
    try {
        data.buffer.append(text, from, count);
    } catch (const std::bad_alloc&) {
        flush(data);
        data.buffer.append(text, from, count);
    }
}

Log& Log::writeImpl(const std::string& text)
{
    const boost::lock_guard<boost::mutex> guard(lock());
    if (!impl)
        return *this;
    logData_t& data = ownRecord();
    if (data.level >= logLevel.load(std::memory_order_relaxed))
        return *this;
    if (data.buffer.empty())
        ThreadStamp(data);

    std::size_t position = 0;
    bool endedInNewline = false;
    for (std::size_t newline;
         !endedInNewline && (newline = text.find('\n', position)) != std::string::npos;) {
        // A newline on its own only ends what was written before: it is not sent itself.
        if (newline != position)
            appendPiece(data, text, position, newline + 1 - position);
        flush(data);
        position = newline + 1;
        endedInNewline = position == text.size();
    }
    if (!endedInNewline) {
        appendPiece(data, text, position, std::string::npos);
        if (data.buffer.size() > longestLine) {
            std::ostringstream notice;
            notice << " [--- Log has flushed the buffer for thread " << boost::this_thread::get_id() << "]\n";
            const std::string end = notice.str();
            appendPiece(data, end, 0, end.size());
            flush(data);
        }
    }
    if (!impl->buffered)
        flush(data);
    return *this;
}
