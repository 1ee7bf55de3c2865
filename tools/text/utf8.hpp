#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

constexpr std::string_view whiteSpace = " \t\n\r\v\f";

/// The length of the well-formed UTF-8 character that `text` begins with, or 0 when there is none.
std::size_t characterLength(std::string_view text);

/// Puts a space in place of each byte that no engine can speak: control characters other than white
/// space, what is not UTF-8, a byte order mark at the beginning. Every other byte keeps its place.
/// \return whether there was something that is not UTF-8
bool makeSpeakable(std::string& text);

/// Whether a text holds nothing but white space.
bool isBlank(std::string_view text);

/// A text as one line: control characters, line ends among them, become spaces.
std::string oneLine(std::string text);

/// The longest beginning of a text that is at most that many columns wide on a terminal.
std::string_view firstColumns(std::string_view text, std::size_t columns);

}  // namespace tool
