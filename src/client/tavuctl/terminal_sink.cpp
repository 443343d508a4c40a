#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>

namespace tavu::ctl {

namespace {

// The palette of 256 colours has 24 greys, between its black and its white.
constexpr unsigned kFirstGrey = 232;
constexpr unsigned kGreys = 24;

/// A frame made smaller, each pixel the mean of those that it stands for.
struct Thumbnail
{
    unsigned width;
    unsigned height;
    std::vector<uint16_t> pixels;
};

Thumbnail shrink(const client::FrameView &frame, unsigned maxWidth, unsigned maxHeight)
{
    const double scale =
        std::min({1.0, double(maxWidth) / frame.width, double(maxHeight) / frame.height});
    Thumbnail small{std::max(1u, static_cast<unsigned>(frame.width * scale)),
                    std::max(1u, static_cast<unsigned>(frame.height * scale)),
                    {}};
    const auto edge = [](unsigned i, unsigned count, unsigned size) {
        return static_cast<uint32_t>(uint64_t(i) * size / count);
    };
    for (unsigned y = 0; y < small.height; ++y) {
        for (unsigned x = 0; x < small.width; ++x) {
            const uint32_t left = edge(x, small.width, frame.width);
            const uint32_t right = edge(x + 1, small.width, frame.width);
            const uint32_t bottom = edge(y + 1, small.height, frame.height);
            uint64_t sum = 0;
            uint64_t count = 0;
            for (uint32_t row = edge(y, small.height, frame.height); row < bottom; ++row) {
                for (const uint16_t pixel : frame.row(row).subspan(left, right - left))
                    sum += pixel;
                count += right - left;
            }
            small.pixels.push_back(static_cast<uint16_t>(sum / count));
        }
    }
    return small;
}

std::string colour(unsigned layer, unsigned grey)
{
    return "\033[" + std::to_string(layer) + ";5;" + std::to_string(kFirstGrey + grey) + "m";
}

/// Draws each frame over the last one on a terminal, and one below the other elsewhere.
class TerminalSink final : public FrameSink
{
public:
    TerminalSink() : onTerminal_(isConsole(stdout)) {}

    void put(uint64_t number, const client::FrameView &frame) override
    {
        const ConsoleSize size = onTerminal_ ? consoleSize(stdout) : ConsoleSize();
        // The last two lines belong to the caption and the cursor.
        const std::string picture =
            drawFrame(frame, size.columns, size.rows > 3 ? size.rows - 2 : 1);
        const std::string caption =
            "frame " + std::to_string(number) + ", " + frameSizeText(frame.width, frame.height);
        const bool again = onTerminal_ && lines_ > 0;
        std::string text = again ? "\033[" + std::to_string(lines_) + "A\r" : std::string();
        text += picture + caption + (onTerminal_ ? "\033[K\n" : "\n");
        lines_ = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
        print(text);
    }

private:
    bool onTerminal_;
    unsigned lines_ = 0; ///< that the last frame took
};

} // namespace

std::string drawFrame(const client::FrameView &frame, unsigned columns, unsigned rows)
{
    if (frame.pixels.empty())
        return "(an empty frame)\n";
    const Thumbnail small = shrink(frame, columns, rows * 2);
    const auto [low, high] = std::minmax_element(small.pixels.begin(), small.pixels.end());
    const unsigned span = std::max(1u, unsigned(*high) - *low);
    const auto grey = [&, black = *low](unsigned x, unsigned y) {
        return (unsigned(small.pixels[size_t(y) * small.width + x]) - black) * (kGreys - 1) / span;
    };
    std::string text;
    for (unsigned y = 0; y < small.height; y += 2) {
        std::string before;
        for (unsigned x = 0; x < small.width; ++x) {
            std::string colours = colour(38, grey(x, y));
            // An odd last row has nothing below it.
            if (y + 1 < small.height)
                colours += colour(48, grey(x, y + 1));
            text += (colours == before ? "" : colours) + "\xE2\x96\x80";
            before = std::move(colours);
        }
        text += "\033[0m\n";
    }
    return text;
}

std::unique_ptr<FrameSink> makeTerminalSink()
{
    return std::make_unique<TerminalSink>();
}

} // namespace tavu::ctl
