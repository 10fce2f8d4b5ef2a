#include "selfdebug/ReporterLink.h"

#include "selfdebug/SelfDebugger.h"

#include <cerrno>
#include <cstring>
#include <execinfo.h>
#include <unistd.h>

namespace reporterLink {
namespace {

/// A text put together in a buffer of its own, cut at the end; stands in for snprintf, which a handler may
/// not call.
class SignalSafeText
{
public:
    SignalSafeText& add(const char* text)
    {
        while (*text != '\0' && used + 1 < sizeof(buffer))
            buffer[used++] = *text++;
        return *this;
    }

    SignalSafeText& add(long value)
    {
        char digits[24];
        std::size_t at = sizeof(digits);
        digits[--at] = '\0';
        unsigned long rest =
            value < 0 ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
        do {
            digits[--at] = static_cast<char>('0' + rest % 10);
            rest /= 10;
        } while (rest != 0);
        if (value < 0)
            digits[--at] = '-';
        return add(&digits[at]);
    }

    [[nodiscard]] const char* text() const { return buffer; }

private:
    char buffer[128] = {};
    std::size_t used = 0;
};

} // namespace

void complain(const char* text)
{
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, text, strlen(text));
}

bool collect(slfDbgMsg& record)
{
    record.frames = backtrace(record.addresses, slfDbgMsg::maxFrames);
    return record.frames > 0;
}

bool send(const slfDbgMsg& record)
{
    const int fd = pipeFd.load();
    if (reporterPid.load() == -1 || fd == -1) {
        complain("Error: SelfDebugger not initialized (please call the init() function).");
        return false;
    }
    ssize_t sent = 0;
    do
        sent = write(fd, &record, sizeof(record));
    while (sent == -1 && errno == EINTR);
    if (sent == static_cast<ssize_t>(sizeof(record)))
        return true;
    const int error = errno;
    SignalSafeText text;
    text.add("Error sending slfDbgMsg: ret=")
        .add(static_cast<long>(sent))
        .add(", errno=")
        .add(long{error})
        .add("\n");
    complain(text.text());
    return false;
}

} // namespace reporterLink

void selfDebuggerSignalHandler(int signal, siginfo_t* info, void*)
{
    const int callersErrno = errno; // the interrupted code must find its own again
    slfDbgMsg record{};
    if (reporterLink::collect(record)) {
        record.signal = signal;
        // Signals that a process sent carry its id where a fault has its address.
        record.faultAddress = info != nullptr && info->si_code > 0 ? info->si_addr : nullptr;
        if (!reporterLink::send(record))
            reporterLink::complain("Error sending slfDbgMsg\n");
    } else {
        reporterLink::complain("Error obtaining backtrace.\n");
    }
    if (signal != SIGUSR1) {
        // Blocked while we are here: it takes the process down as soon as we return.
        struct sigaction byDefault = {};
        byDefault.sa_handler = SIG_DFL;
        sigaction(signal, &byDefault, nullptr);
        raise(signal);
    }
    errno = callersErrno;
}
