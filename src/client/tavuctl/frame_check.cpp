#include "client/tavuctl/frame_check.h"

#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>

namespace tavu::ctl {

namespace {

std::string wrongNumber(uint64_t found)
{
    return "has the number " + std::to_string(found);
}

/// Pixels at the start of a simulated frame: the port, and the four words of the number.
constexpr size_t kMarks = 5;

} // namespace

std::string faultOfEmulatedFrame(uint64_t number, const client::FrameView &frame)
{
    constexpr size_t kNumberOffset = 20;
    constexpr size_t kPixel = kNumberOffset / sizeof(uint16_t);
    // The header has at most the first row.
    if (frame.width < kPixel + 2)
        throw Failure("frames of this width have no number in their header: it takes at least "
                      "12 pixels");
    const uint32_t found = frame.pixels[kPixel] | uint32_t(frame.pixels[kPixel + 1]) << 16;
    return found == static_cast<uint32_t>(number) ? std::string() : wrongNumber(found);
}

std::optional<uint64_t> simulatedNumber(const client::FrameView &frame)
{
    if (frame.pixels.size() < kMarks)
        return std::nullopt;
    uint64_t number = 0;
    for (size_t i = 1; i < kMarks; ++i)
        number |= uint64_t(frame.pixels[i]) << (16 * (i - 1));
    return number;
}

std::string faultOfSimulatedFrame(uint64_t number, uint32_t port, const client::FrameView &frame)
{
    if (frame.pixels.empty())
        return "is empty";
    const uint32_t foundPort = frame.pixels[0];
    if (port != 0 && foundPort != port)
        return "says that it is of port " + std::to_string(foundPort) + " instead of " +
               std::to_string(port) + ", counted from 1";
    if (const auto found = simulatedNumber(frame); found && *found != number)
        return wrongNumber(*found);
    const auto first = static_cast<uint16_t>(8 * number + 4096 * uint64_t(foundPort));
    size_t skipped = std::min(kMarks, frame.pixels.size());
    for (uint32_t y = 0; y < frame.height; ++y) {
        const std::span<const uint16_t> row = frame.row(y);
        const size_t start = std::min(skipped, row.size());
        skipped -= start;
        auto expected = static_cast<uint16_t>(first + y + start);
        // Without an early exit compilers make vector instructions of this loop.
        uint16_t difference = 0;
        for (size_t x = start; x < row.size(); ++x)
            difference |= static_cast<uint16_t>(row[x] ^ expected++);
        if (difference == 0)
            continue;
        size_t x = start;
        while (row[x] == static_cast<uint16_t>(first + y + x))
            ++x;
        return "has " + std::to_string(row[x]) + " instead of " +
               std::to_string(static_cast<uint16_t>(first + y + x)) + " in column " +
               std::to_string(x) + " of row " + std::to_string(y);
    }
    return {};
}

void FrameCheck::check(uint64_t number, const client::FrameView &frame)
{
    const std::string fault = faultOf_(number, frame);
    if (!fault.empty() && wrong_++ == 0)
        first_ = "frame " + std::to_string(number) + " " + fault;
}

void FrameCheck::require(uint64_t count) const
{
    if (wrong_ > 0)
        throw Failure(std::to_string(wrong_) + " of " + counted(count, "frame") +
                      (wrong_ == 1 ? " is" : " are") + " not what was sent; the first: " + first_);
}

} // namespace tavu::ctl
