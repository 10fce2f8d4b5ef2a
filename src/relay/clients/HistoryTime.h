#pragma once

#include <ctime>
#include <optional>
#include <string>

/**
 * Time of an entry in the client tables. Frames come many a second and only an operator's dump reads the
 * text, so entries keep the number and the text is made on demand; the conversion is tried once a second,
 * because an entry whose time has no text is not made at all.
 */
class HistoryTime
{
public:
    /// The present time; empty when it has no local-time form.
    [[nodiscard]] std::optional<std::time_t> now();

    /// Local time as "%H:%M:%S %d/%m/%Y"; empty if there is none.
    [[nodiscard]] static std::string text(std::time_t time);

private:
    std::time_t lastTried = 0;
    bool lastConverted = false;
};
