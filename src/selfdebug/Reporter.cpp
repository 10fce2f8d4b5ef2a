#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/prctl.h>
#include <syslog.h>
#include <unistd.h>

#include "selfdebug/MemMapReportFile.h"
#include "selfdebug/ReportText.h"
#include "selfdebug/SelfDebugger.h"

namespace {

/// The name that the program was started with, and the name that the reporter gives itself.
struct Names
{
    std::string launchName;
    std::string rewrittenName;
};

std::string processName()
{
    char name[16] = {};
    if (prctl(PR_GET_NAME, name) == 0)
        return name;
    syslog(LOG_ERR, "Error getting process name: %s", strerror(errno));
    return "?";
}

/// Changes the process name, so that process lists do not show the reporter as a second daemon.
Names disguise(int argc, char** argv)
{
    Names names;
    if (argc > 0)
        names.launchName = argv[0];
    static const std::string shown =
        reportText::reporterName(processName().c_str()); // openlog keeps the pointer
    openlog(shown.c_str(), LOG_CONS, LOG_USER);
    if (prctl(PR_SET_NAME, shown.c_str()) != 0)
        syslog(LOG_ERR, "Error setting process name: %s", strerror(errno));
    if (argc > 0) {
        reportText::overwriteInPlace(argv[0], shown);
        names.rewrittenName = argv[0];
    }
    for (int i = 1; i < argc; ++i)
        memset(argv[i], 0, strlen(argv[i]));
    return names;
}

/// The next record; leaves the process when the daemon has gone.
slfDbgMsg nextRecord(int readFd)
{
    constexpr unsigned pauseAfterError = 5;
    while (true) {
        slfDbgMsg record{};
        const ssize_t got = read(readFd, &record, sizeof(record));
        if (got == static_cast<ssize_t>(sizeof(record)))
            return record;
        if (got == 0) {
            fflush(nullptr);
            _exit(0); // static objects are the daemon's, not ours to destroy
        }
        if (got == -1 && errno == EINTR)
            continue;
        syslog(LOG_ERR, "Error reading from pipe: %s",
               got == -1 ? strerror(errno) : "not enough bytes received");
        sleep(pauseAfterError);
    }
}

std::vector<std::string> frameLines(const slfDbgMsg& record, const Names& names)
{
    std::vector<std::string> lines;
    const int count = std::min<int>(record.frames, slfDbgMsg::maxFrames);
    if (count <= 0)
        return lines;
    const std::unique_ptr<char*, void (*)(void*)> symbols(backtrace_symbols(record.addresses, count),
                                                          std::free);
    for (int i = 0; symbols != nullptr && i < count; ++i)
        lines.push_back(reportText::readableFrame(symbols.get()[i], names.rewrittenName, names.launchName));
    return lines;
}

/// The reporter's own memory map. It was forked from the daemon, so libraries have the same addresses in
/// both.
std::optional<std::string> memoryMap()
{
    const int fd = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        return std::nullopt;
    std::string map;
    char piece[255];
    ssize_t got = 0;
    while ((got = read(fd, piece, sizeof(piece))) != 0) {
        if (got > 0)
            map.append(piece, static_cast<std::size_t>(got));
        else if (errno != EINTR)
            break;
    }
    close(fd);
    return got == 0 ? std::optional(map) : std::nullopt;
}

bool writeAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(fd, text.data(), text.size());
        if (written == -1 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool replaceFile(const std::string& name, const std::string& content)
{
    // Without blocking: a pipe that nobody reads must not hold up the reports behind this one.
    const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0644);
    if (fd == -1)
        return false;
    const bool written = writeAll(fd, content);
    return close(fd) == 0 && written;
}

/// A crash report carries the whole map; a report on request leaves it in the file, as such reports are
/// repeated.
std::string mapSection(const slfDbgMsg& record)
{
    const std::optional<std::string> map = memoryMap();
    if (!map)
        return {};
    std::string text;
    if (!reportText::isFatal(record) && !memMapReportFile().empty()) {
        if (replaceFile(memMapReportFile(), *map))
            return "\nMemory map dumped to file: " + memMapReportFile() + "\n\n";
        text = "\nFailed dumping memory map  to file. Will dump it to stderr and syslog.\n\n";
    }
    return text + "\nMemory map:\n\n" + *map + "\n";
}

void publish(const std::string& text)
{
    fputs(text.c_str(), stderr);
    fflush(stderr);
    for (const std::string& line : reportText::nonEmptyLines(text))
        syslog(LOG_ERR, "%s", line.c_str());
}

} // namespace

void selfDebuggerReporter(int readFd, int argc, char** argv)
{
    const Names names = disguise(argc, argv);
    while (true) {
        const slfDbgMsg record = nextRecord(readFd);
        publish(reportText::signalLines(record) + reportText::backtraceSection(frameLines(record, names)) +
                mapSection(record));
    }
}
