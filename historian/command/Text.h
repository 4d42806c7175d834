#pragma once

// Texts for people. All are UTF-8; in a terminal a text is as wide as the cells it covers, not as its bytes.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace historian::command {

bool IsUtf8(std::string_view text);
std::filesystem::path PathOf(std::string_view utf8);

// Prepares a foreign text for a message of one line: control characters become blanks, a long text is cut.
std::string OneLine(std::string_view text, std::size_t most = 300);
// The same between double quotes, and shorter.
std::string Quote(std::string_view text);

// Cells that a text covers in a terminal: none for combining marks, two for wide East Asian characters.
std::size_t DisplayWidth(std::string_view text);
// The text in exactly `width` cells; a text that does not fit ends in an ellipsis.
std::string AlignLeft(std::string_view text, std::size_t width);
std::string AlignRight(std::string_view text, std::size_t width);
std::string Repeat(std::size_t count, std::string_view text);

// "1 row", "2,100 rows".
std::string Count(std::uint64_t count, std::string_view noun);
// 121940 reads as 121,940.
std::string FormatCount(std::uint64_t count);
// A value in at most eight cells: 0.4621, 31.72, 24,318, 1.23e+07.
std::string FormatValue(double value);
// The shortest text that reads back as the same double.
std::string ExactValue(double value);
// 4 ms, 0.61 s, 12.3 s, 2 min 05 s, 3 h 04 min, 5 days.
std::string FormatDuration(double seconds);
// 512 B, 4.2 MiB.
std::string FormatBytes(std::uint64_t bytes);

}  // namespace historian::command
