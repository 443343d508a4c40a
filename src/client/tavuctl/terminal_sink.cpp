#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>
#include <utility>

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
    explicit TerminalSink(CaptionOf captionOf) : captionOf_(std::move(captionOf)) {}

    void put(uint64_t number, const client::FrameView &frame) override
    {
        const ConsoleSize size = consoleSize(stdout);
        // The last two lines belong to the caption and the cursor.
        const std::string picture =
            drawFrame(frame, size.columns, size.rows > 3 ? size.rows - 2 : 1, shades_);
        std::string caption =
            "frame " + std::to_string(number) + ", " + frameSizeText(frame.width, frame.height);
        if (captionOf_)
            caption += captionOf_();
        std::string text;
        if (overLast_ && lines_ > 0)
            text = "\033[" + std::to_string(lines_) + "A\r";
        text += picture + cutToWidth(caption, size.columns - 1) + (overLast_ ? "\033[K\n" : "\n");
        lines_ = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
        print(text);
    }

private:
    CaptionOf captionOf_;
    const bool overLast_ = obeysEscapes(stdout);
    const Shades shades_ =
        showsColours(stdout) && consolesShowUtf8() ? Shades::Colours : Shades::Characters;
    unsigned lines_ = 0; ///< that the last frame took
};

/// The pixels of \a small in colours, two rows a line.
std::string drawColours(const Thumbnail &small, const auto &shade)
{
    std::string text;
    for (unsigned y = 0; y < small.height; y += 2) {
        std::string before;
        for (unsigned x = 0; x < small.width; ++x) {
            std::string colours = colour(38, shade(x, y, kGreys));
            // An odd last row has nothing below it.
            if (y + 1 < small.height)
                colours += colour(48, shade(x, y + 1, kGreys));
            text += (colours == before ? "" : colours) + "\xE2\x96\x80";
            before = std::move(colours);
        }
        text += "\033[0m\n";
    }
    return text;
}

/// The same in characters that are ever denser, for the mean of two rows.
std::string drawCharacters(const Thumbnail &small, const auto &shade)
{
    static constexpr std::string_view kRamp = " .:-=+*#%@";
    std::string text;
    for (unsigned y = 0; y < small.height; y += 2) {
        const unsigned below = std::min(y + 1, small.height - 1);
        for (unsigned x = 0; x < small.width; ++x)
            text += kRamp[(shade(x, y, kRamp.size()) + shade(x, below, kRamp.size())) / 2];
        text += '\n';
    }
    return text;
}

} // namespace

std::string drawFrame(const client::FrameView &frame, unsigned columns, unsigned rows,
                      Shades shades)
{
    if (frame.pixels.empty())
        return "(an empty frame)\n";
    const Thumbnail small = shrink(frame, columns, rows * 2);
    const auto [low, high] = std::minmax_element(small.pixels.begin(), small.pixels.end());
    const unsigned span = std::max(1u, unsigned(*high) - *low);
    const auto shade = [&, black = *low](unsigned x, unsigned y, size_t count) {
        const unsigned above = unsigned(small.pixels[size_t(y) * small.width + x]) - black;
        return above * (static_cast<unsigned>(count) - 1) / span;
    };
    return shades == Shades::Colours ? drawColours(small, shade) : drawCharacters(small, shade);
}

std::unique_ptr<FrameSink> makeTerminalSink(CaptionOf captionOf)
{
    return std::make_unique<TerminalSink>(std::move(captionOf));
}

} // namespace tavu::ctl
