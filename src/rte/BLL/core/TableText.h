#pragma once

#include <string>

#include <boost/thread/thread.hpp>

/// Pieces of the tables that operators read.
namespace tableText {

/// A rule of @p length dashes and a newline.
std::string rule(std::size_t length);

/// The text right-aligned to @p width, longer texts uncut, and the column separator.
std::string cell(const std::string& text, std::size_t width);

/// Hexadecimal with base prefix, as a stream shows it: plain "0" for nothing.
std::string hex(unsigned long value);

/// The id in hexadecimal with base prefix, or "{Not-any-thread}".
std::string threadId(const boost::thread::id& id);

} // namespace tableText
