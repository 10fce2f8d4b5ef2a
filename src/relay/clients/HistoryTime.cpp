#include "relay/clients/HistoryTime.h"

#include "common/Clock.h"

std::optional<std::time_t> HistoryTime::now()
{
    const std::time_t present = Clock::now();
    if (present != lastTried || !lastConverted) {
        std::tm local{};
        lastConverted = ::localtime_r(&present, &local) != nullptr;
        lastTried = present;
    }
    return lastConverted ? std::optional(present) : std::nullopt;
}

std::string HistoryTime::text(std::time_t time)
{
    std::tm local{};
    if (::localtime_r(&time, &local) == nullptr)
        return {};
    char text[30];
    const std::size_t length = std::strftime(text, sizeof text, "%H:%M:%S %d/%m/%Y", &local);
    return {text, length};
}
