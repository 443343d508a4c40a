#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tavu::tools {

/// \a text fit for a terminal: what isn't UTF-8 and what a terminal might obey instead of showing
/// becomes the replacement character.
std::string printable(std::string_view text);

/// \a text fit for a terminal, in quotation marks.
std::string inQuotes(std::string_view text);

/// The number that the whole of \a text is, in decimal digits.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// Columns that \a text takes in a terminal; wide characters take two.
unsigned displayWidth(std::string_view text);

/// As much of the beginning of \a text as fits into \a columns.
std::string cutToWidth(std::string_view text, unsigned columns);

/// \a text with a question mark for each character beyond ASCII.
std::string plainText(std::string_view text);

/// Lines up rows of cells in columns, two blanks apart, each row a line.
std::string table(const std::vector<std::vector<std::string>> &rows);

/// "1280x1024".
std::string frameSizeText(uint32_t width, uint32_t height);

/// A number with \a digits behind the point.
std::string decimals(double value, int digits);

/// "29.9 a second".
std::string rateText(double frameRate);
/// Bytes a second in MB: "39.7".
std::string byteRateText(double byteRate);

/// "29.9 ms".
std::string millisecondsText(double seconds);

/// "235.9 MB".
std::string sizeText(uint64_t bytes);

/// "2026-11-21T12:00:00Z" for a count of 100 ns since 1601 UTC; "-" for 0, and the bare number for
/// one that lies beyond the year 9999.
std::string timeText(uint64_t timestamp);
/// The same with all seven digits that the count has behind the second.
std::string exactTimeText(uint64_t timestamp);

/// "90 frames", "1 frame".
std::string counted(uint64_t count, std::string_view noun);

std::string hexText(std::span<const uint8_t> bytes);

} // namespace tavu::tools
