#include "client/tools/parsing.h"

#include "client/tools/failure.h"
#include "client/tools/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace tavu::tools {

namespace {

/// One frame of a list of ranges.
uint64_t parseFrame(std::string_view text, uint64_t frameCount)
{
    const std::optional<uint64_t> number = parseNumber<uint64_t>(text);
    if (!number && text != "first" && text != "last")
        throw UsageError(inQuotes(text) + " is no frame: give a number, \"first\" or \"last\"");
    const uint64_t frame = number ? *number : text == "first" ? 0 : frameCount - 1;
    if (frame >= frameCount)
        throw Failure("there is no frame " + std::to_string(frame) +
                      ": the recording has the frames 0 to " + std::to_string(frameCount - 1));
    return frame;
}

std::pair<uint64_t, uint64_t> parseRange(std::string_view text, uint64_t frameCount)
{
    const size_t dash = text.find('-');
    const uint64_t first = parseFrame(text.substr(0, dash), frameCount);
    if (dash == std::string_view::npos)
        return {first, first};
    const std::string_view end = text.substr(dash + 1);
    const uint64_t last = end.empty() ? frameCount - 1 : parseFrame(end, frameCount);
    if (last < first)
        throw UsageError(inQuotes(text) + " ends before it begins");
    return {first, last};
}

} // namespace

uint64_t parseDuration(std::string_view text)
{
    struct Unit
    {
        std::string_view suffix;
        double microseconds;
    };
    static constexpr std::array<Unit, 6> kUnits = {
        {{"us", 1}, {"ms", 1e3}, {"s", 1e6}, {"m", 60e6}, {"h", 3600e6}, {"", 1e6}}};
    const auto unit = std::find_if(kUnits.begin(), kUnits.end(),
                                   [text](const Unit &u) { return text.ends_with(u.suffix); });
    const std::optional<double> value =
        parseNumber<double>(text.substr(0, text.size() - unit->suffix.size()));
    // 1e18 is past any recording and well inside 64 bits.
    if (!value || !(*value >= 0) || *value * unit->microseconds > 1e18)
        throw UsageError(inQuotes(text) + " is no duration: give one like 10s, 500ms or 2m");
    return static_cast<uint64_t>(std::llround(*value * unit->microseconds));
}

client::Bytes parseHex(std::string_view text)
{
    std::string_view rest = text.starts_with("0x") ? text.substr(2) : text;
    client::Bytes bytes;
    while (!rest.empty()) {
        if (rest[0] == ' ' || rest[0] == ':') {
            rest.remove_prefix(1);
            continue;
        }
        uint8_t byte = 0;
        const char *const end = rest.data() + std::min<size_t>(rest.size(), 2);
        const auto parsed = std::from_chars(rest.data(), end, byte, 16);
        if (parsed.ec != std::errc() || parsed.ptr != rest.data() + 2)
            throw UsageError(inQuotes(text) + " isn't hexadecimal: give pairs of digits like 0d0a");
        bytes.push_back(byte);
        rest.remove_prefix(2);
    }
    return bytes;
}

std::pair<uint16_t, uint16_t> parseFrameSize(std::string_view text)
{
    const size_t cross = text.find('x');
    if (cross != std::string_view::npos) {
        const auto width = parseNumber<uint16_t>(text.substr(0, cross));
        const auto height = parseNumber<uint16_t>(text.substr(cross + 1));
        if (width && height)
            return {*width, *height};
    }
    throw UsageError(inQuotes(text) +
                     " is no frame size: give width and height like 1280x1024, each "
                     "up to 65535");
}

FrameRanges parseFrames(std::string_view text, uint64_t frameCount)
{
    if (frameCount == 0)
        throw Failure("the recording has no frames");
    if (text == "all")
        return {{0, frameCount - 1}};
    FrameRanges ranges;
    for (bool more = true; more;) {
        const size_t comma = text.find(',');
        ranges.push_back(parseRange(text.substr(0, comma), frameCount));
        more = comma != std::string_view::npos;
        if (more)
            text.remove_prefix(comma + 1);
    }
    return ranges;
}

uint64_t frameCountOf(const FrameRanges &ranges)
{
    uint64_t count = 0;
    for (const auto &[first, last] : ranges)
        count += last - first + 1;
    return count;
}

} // namespace tavu::tools
