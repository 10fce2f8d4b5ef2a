#include "relay/frame/FrameText.h"

#include "log/LogText.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include <arpa/inet.h>

namespace frame {

using namespace wire;

namespace {

/// All texts here are short; a longer one would be cut.
void appendFormatted(std::string& out, const char* format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));

void appendFormatted(std::string& out, const char* format, std::va_list arguments)
{
    char text[256];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    if (length > 0)
        out += text;
}

void appendDevice(std::string& out, const char* label, const char (&name)[16], unsigned index)
{
    const auto text = recordName(name);
    appendFormat(out, "%-20s%.*s idx: %u\n", label, static_cast<int>(text.size()), text.data(), index);
}

/// The word as the record holds it, and in host form.
void appendTag(std::string& out, const char* label, std::uint16_t networkOrderTag)
{
    appendFormat(out, "%-20s0x%04x(HF: %u)\n", label, networkOrderTag, ntohs(networkOrderTag));
}

} // namespace

void appendFormat(std::string& out, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(out, format, arguments);
    va_end(arguments);
}

void appendField(std::string& out, const char* label, const char* format, ...)
{
    appendFormat(out, "%-16s: ", label);
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(out, format, arguments);
    va_end(arguments);
    out += '\n';
}

void appendHex(std::string& out, std::span<const std::uint8_t> bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    for (const std::uint8_t byte : bytes) {
        const char text[] = {' ', digits[byte >> 4], digits[byte & 0x0F]};
        out.append(text, sizeof text);
    }
}

void appendFrameInfo(std::string& out, const zobridge_frame_info* info)
{
    if (info == nullptr) {
        out += "=== Frame info invalid\n";
        return;
    }
    out += "=== Frame info ==========================\n";
    appendFormat(out, "%-20s%u\n", "    full_size:", info->full_size);
    appendDevice(out, "    input_dev:", info->input_dev, info->input_dev_idx);
    appendDevice(out, "    output_dev:", info->output_dev, info->output_dev_idx);
    appendTag(out, "    vlan_tag1_nf:", info->vlan_tag1_nf);
    appendTag(out, "    vlan_tag2_nf:", info->vlan_tag2_nf);
    out += "=========================================\n";
}

void appendDump(std::string& out, const char* prefix, std::span<const std::uint8_t> recordAndFrame)
{
    appendFormat(out, "ethFrameStart =  sizeof(struct zobridge_frame_info) = %zu", recordSize);
    appendDumpRows(out, std::string(prefix).append(" ").c_str(), recordAndFrame);
}

void appendDumpRows(std::string& out, const char* opening, std::span<const std::uint8_t> recordAndFrame)
{
    constexpr std::size_t row = 16;
    for (std::size_t at = recordSize; at < recordAndFrame.size(); at += row) {
        appendFormat(out, "\n [%s%zx] ", opening, at);
        appendHex(out, recordAndFrame.subspan(at, std::min(row, recordAndFrame.size() - at)));
    }
}

void logLines(LogImpl::logLevel_t level, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        logText(level, std::string("[DHCPRA] ").append(text.substr(0, end)).append("\n"));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

} // namespace frame
