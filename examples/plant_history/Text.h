#pragma once

// Texts of this program are UTF-8; the library's are wide. This pair converts, the rest formats for a
// terminal, where a text is as wide as the cells it covers, not as its bytes.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace plant {

// Wide to UTF-8 and back; what cannot be converted becomes U+FFFD.
std::string Narrow(std::wstring_view text);
std::wstring Widen(std::string_view utf8);

// A file by its name in UTF-8, and the last part of its name.
std::filesystem::path PathOf(std::string_view utf8);
std::string NameOf(const std::filesystem::path& path);

bool IsUtf8(std::string_view text);
bool HasControlCharacter(std::string_view utf8);

// A foreign text fit for a message of one line: control characters become a blank, a long tail is cut.
std::string OneLine(std::string_view text, std::size_t most = 200);

// Cells that a text covers in a terminal: none for combining marks, two for wide East Asian characters.
std::size_t DisplayWidth(std::string_view utf8);

// The text in exactly `width` cells; what does not fit ends in an ellipsis.
std::string AlignLeft(std::string_view utf8, std::size_t width);
std::string AlignRight(std::string_view utf8, std::size_t width);

// 121940 reads as 121,940.
std::string FormatCount(std::uint64_t count);

// A measurement in at most eight cells for a table: 0.4621, 31.72, 24,318, 1.23e+07.
std::string FormatValue(double value);

// 4 ms, 0.61 s, 12.3 s, 2 min 05 s, 3 h 04 min.
std::string FormatDuration(double seconds);

// 17,420 rows, 121,940 samples in 0.61 s (199,902 samples/s)
std::string FormatThroughput(std::uint64_t rows, std::uint64_t samples, double seconds);

}  // namespace plant
