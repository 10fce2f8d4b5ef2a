#include "tools/dhcpractl/Lines.h"

#include "tools/dhcpractl/Failures.h"

#include <charconv>
#include <cstdio>
#include <utility>

namespace dhcpractl {

namespace {

class Splitter
{
public:
    explicit Splitter(std::string_view text) : rest(text) {}

    std::vector<std::string> split()
    {
        while (!rest.empty()) {
            const char c = take();
            if (c == '#' && !inWord)
                break;
            if (c == ' ' || c == '\t' || c == '\r')
                endWord();
            else if (c == '\'')
                takeSingleQuoted();
            else if (c == '"')
                takeDoubleQuoted();
            else
                add(c);
        }
        endWord();
        return std::move(words);
    }

private:
    char take()
    {
        if (rest.empty())
            throw UsageError("a quote has no end");
        const char c = rest.front();
        rest.remove_prefix(1);
        return c;
    }

    void add(char c)
    {
        inWord = true;
        word += c;
    }

    void endWord()
    {
        if (inWord)
            words.push_back(std::exchange(word, {}));
        inWord = false;
    }

    void takeSingleQuoted()
    {
        inWord = true;
        for (char c = take(); c != '\''; c = take())
            add(c);
    }

    void takeDoubleQuoted()
    {
        inWord = true;
        for (char c = take(); c != '"'; c = take())
            add(c == '\\' ? takeEscaped() : c);
    }

    char takeEscaped()
    {
        const char c = take();
        switch (c) {
        case '\\':
        case '"':
            return c;
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 'x':
            return takeHex();
        default:
            throw UsageError(std::string("\\") + c + " is no escape");
        }
    }

    char takeHex()
    {
        const char digits[2] = {take(), take()};
        unsigned value = 0;
        const auto [end, error] = std::from_chars(digits, digits + 2, value, 16);
        if (error != std::errc{} || end != digits + 2)
            throw UsageError("\\x wants two hex digits");
        return static_cast<char>(value);
    }

    std::string_view rest;
    std::string word;
    bool inWord = false; ///< a word may be empty, in quotes
    std::vector<std::string> words;
};

bool isPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-./:,=").find(c) != std::string_view::npos;
}

std::string escaped(char c)
{
    switch (c) {
    case '\\':
    case '"':
        return {'\\', c};
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        break;
    }
    if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f)
        return {c};
    char text[5];
    std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::vector<std::string> splitLine(std::string_view line) { return Splitter(line).split(); }

std::string quoteWord(std::string_view word)
{
    bool plain = !word.empty();
    for (const char c : word)
        plain = plain && isPlain(c);
    if (plain)
        return std::string(word);
    std::string text = "\"";
    for (const char c : word)
        text += escaped(c);
    return text + '"';
}

} // namespace dhcpractl
