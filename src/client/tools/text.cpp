#include "client/tools/text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace tavu::tools {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// Removes the next character from \a text and returns it; kReplacement stands for a byte that
/// doesn't begin a valid one.
char32_t takeCharacter(std::string_view &text)
{
    const auto byte = [&text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const size_t length = lead < 0x80                   ? 1
                          : lead >= 0xC2 && lead < 0xE0 ? 2
                          : lead >= 0xE0 && lead < 0xF0 ? 3
                          : lead >= 0xF0 && lead < 0xF5 ? 4
                                                        : 0;
    char32_t value = length > 1 ? lead & (0x7F >> length) : lead;
    bool whole = length != 0 && length <= text.size();
    for (size_t i = 1; whole && i < length; ++i) {
        whole = (byte(i) & 0xC0) == 0x80;
        value = (value << 6) | (byte(i) & 0x3F);
    }
    const bool surrogate = value >= 0xD800 && value < 0xE000;
    const bool tooLong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    whole = whole && !surrogate && !tooLong && value < 0x110000;
    text.remove_prefix(whole ? length : 1);
    return whole ? value : kReplacement;
}

/// Control characters, and those that change the direction of writing.
bool isDangerous(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x200E && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

struct CharacterRange
{
    char32_t first;
    char32_t last;
};

constexpr std::array<CharacterRange, 3> kZeroWidth = {
    {{0x0300, 0x036F}, {0x200B, 0x200D}, {0xFE00, 0xFE0F}}};
constexpr std::array<CharacterRange, 9> kWide = {{{0x1100, 0x115F},
                                                  {0x2E80, 0xA4CF},
                                                  {0xAC00, 0xD7A3},
                                                  {0xF900, 0xFAFF},
                                                  {0xFE30, 0xFE4F},
                                                  {0xFF00, 0xFF60},
                                                  {0xFFE0, 0xFFE6},
                                                  {0x1F300, 0x1FAFF},
                                                  {0x20000, 0x3FFFD}}};

template <typename Ranges>
bool isIn(const Ranges &ranges, char32_t c)
{
    return std::any_of(ranges.begin(), ranges.end(), [c](const CharacterRange &range) {
        return c >= range.first && c <= range.last;
    });
}

unsigned widthOf(char32_t c)
{
    return isIn(kZeroWidth, c) ? 0 : isIn(kWide, c) ? 2 : 1;
}

std::string formatted(const char *format, auto... values)
{
    std::array<char, 64> buffer;
    std::snprintf(buffer.data(), buffer.size(), format, values...);
    return buffer.data();
}

constexpr uint64_t kUnitsPerSecond = 10'000'000;

/// \a end is what comes behind the seconds.
std::string timeText(uint64_t timestamp, const std::string &end)
{
    using namespace std::chrono;
    constexpr uint64_t kEndOfYear9999 = 265'046'774'400ull * kUnitsPerSecond;
    if (timestamp == 0)
        return "-";
    if (timestamp >= kEndOfYear9999)
        return std::to_string(timestamp);
    const sys_seconds time = sys_days(year(1601) / 1 / 1) + seconds(timestamp / kUnitsPerSecond);
    const year_month_day date(floor<days>(time));
    const hh_mm_ss clock(time - floor<days>(time));
    return formatted("%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     static_cast<int>(clock.hours().count()),
                     static_cast<int>(clock.minutes().count()),
                     static_cast<int>(clock.seconds().count())) +
           end;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::string_view rest = text;
        const char32_t c = takeCharacter(text);
        if (c == kReplacement || isDangerous(c))
            result += "\xEF\xBF\xBD";
        else
            result += rest.substr(0, rest.size() - text.size());
    }
    return result;
}

std::string inQuotes(std::string_view text)
{
    return "\"" + printable(text) + "\"";
}

unsigned displayWidth(std::string_view text)
{
    unsigned width = 0;
    while (!text.empty())
        width += widthOf(takeCharacter(text));
    return width;
}

std::string cutToWidth(std::string_view text, unsigned columns)
{
    std::string_view rest = text;
    unsigned width = 0;
    size_t fitting = 0;
    while (!rest.empty() && (width += widthOf(takeCharacter(rest))) <= columns)
        fitting = text.size() - rest.size();
    return std::string(text.substr(0, fitting));
}

std::string plainText(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const char32_t c = takeCharacter(text);
        result += c < 0x80 ? static_cast<char>(c) : '?';
    }
    return result;
}

std::string table(const std::vector<std::vector<std::string>> &rows)
{
    std::vector<unsigned> widths;
    for (const auto &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
    std::string result;
    for (const auto &row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            result += row[i];
            if (i + 1 < row.size())
                result.append(widths[i] - displayWidth(row[i]) + 2, ' ');
        }
        result += '\n';
    }
    return result;
}

std::string frameSizeText(uint32_t width, uint32_t height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string decimals(double value, int digits)
{
    return formatted("%.*f", digits, value);
}

std::string rateText(double frameRate)
{
    return decimals(frameRate, 1) + " a second";
}

std::string byteRateText(double byteRate)
{
    return decimals(byteRate / 1e6, byteRate < 10e6 ? 2 : 1);
}

std::string millisecondsText(double seconds)
{
    return formatted(seconds < 0.001 ? "%.2f ms" : "%.1f ms", seconds * 1000);
}

std::string sizeText(uint64_t bytes)
{
    static constexpr std::array<const char *, 6> kUnits = {"kB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1000)
        return std::to_string(bytes) + " B";
    double value = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    for (; value >= 999.95 && unit + 1 < kUnits.size(); ++unit)
        value /= 1000;
    return formatted("%.1f %s", value, kUnits[unit]);
}

std::string timeText(uint64_t timestamp)
{
    return timeText(timestamp, "Z");
}

std::string exactTimeText(uint64_t timestamp)
{
    const auto fraction = static_cast<unsigned>(timestamp % kUnitsPerSecond);
    return timeText(timestamp, formatted(".%07uZ", fraction));
}

std::string counted(uint64_t count, std::string_view noun)
{
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string hexText(std::span<const uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string result;
    result.reserve(bytes.size() * 2);
    for (const uint8_t byte : bytes) {
        result += kDigits[byte >> 4];
        result += kDigits[byte & 15];
    }
    return result;
}

} // namespace tavu::tools
