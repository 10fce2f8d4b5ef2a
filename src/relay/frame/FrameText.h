#pragma once

#include "log/LogImpl.h"
#include "wire/AddressText.h"
#include "wire/FrameRecord.h"
#include "wire/Mac.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Texts that show a frame to an operator, shared by the views of all families. All append.
namespace frame {

void appendFormat(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// "   label" in a column of 16 characters, ": ", the formatted value, line end.
void appendField(std::string& out, const char* label, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

using wire::ipv6Text;
using wire::macText;

/// " " and two hex digits for each byte.
void appendHex(std::string& out, std::span<const std::uint8_t> bytes);

/// The record, or that there is none.
void appendFrameInfo(std::string& out, const zobridge_frame_info* info);

/// The bytes behind the record in rows of 16, each row opened by prefix and position in the buffer.
void appendDump(std::string& out, const char* prefix, std::span<const std::uint8_t> recordAndFrame);
/// The rows alone, with @p opening right in front of the position.
void appendDumpRows(std::string& out, const char* opening, std::span<const std::uint8_t> recordAndFrame);

/// To the log line by line, "[DHCPRA] " in front of each.
void logLines(LogImpl::logLevel_t level, std::string_view text);

} // namespace frame
