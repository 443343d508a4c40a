#include "client/tavuview/scale.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tavu::view {

namespace {

// The loops here are as compilers make vector instructions of them: over plain arrays, without
// branches, in the narrowest types that hold the sums.

/// Adds a row, weighed in 65536ths.
void addRow(std::span<const uint16_t> row, uint16_t weight, uint32_t *sums)
{
    const uint16_t *const pixels = row.data();
    const size_t count = row.size();
    for (size_t x = 0; x < count; ++x)
        sums[x] += uint32_t(pixels[x]) * weight;
}

/// Part of an axis that a new pixel covers: whole old pixels, and what it has of those at its ends.
struct Cover
{
    uint32_t first = 0;            ///< old pixel
    std::vector<uint16_t> weights; ///< from the first on, in 65536ths; they add up to 65535
};

std::vector<Cover> coversOf(uint32_t from, uint32_t to)
{
    std::vector<Cover> covers(to);
    const double step = double(from) / to;
    for (uint32_t i = 0; i < to; ++i) {
        const double begin = i * step;
        const double end = std::min<double>(from, begin + step);
        Cover &cover = covers[i];
        cover.first = static_cast<uint32_t>(begin);
        double given = 0;
        uint32_t sum = 0;
        for (uint32_t at = cover.first; at < end && at < from; ++at) {
            given += (std::min<double>(end, at + 1.0) - std::max<double>(begin, at)) / step;
            // The rounding of one is made good by the next, so that a plain grey stays as it is.
            const auto upTo = static_cast<uint32_t>(std::lround(std::min(given, 1.0) * 65535));
            cover.weights.push_back(static_cast<uint16_t>(upTo - sum));
            sum = upTo;
        }
        if (sum < 65535)
            cover.weights.back() = static_cast<uint16_t>(cover.weights.back() + 65535 - sum);
    }
    return covers;
}

/// A sum of pixels weighed by 65535 in all, as a pixel.
uint16_t pixelOf(uint32_t sum)
{
    // Exact for what is 65535 times a value: x / 65535 is x / 65536 + x / 65536 / 65536 + ...
    return static_cast<uint16_t>((sum + (sum >> 16) + 0x8000) >> 16);
}

/// A row made narrower: sums of whole pixels are differences of running sums, so that the work
/// doesn't grow with the area of a new pixel.
class RowShrinker
{
public:
    RowShrinker(uint32_t from, uint32_t to) : running_(from + 1u), edges_(to + 1u)
    {
        const double step = double(from) / to;
        for (uint32_t i = 0; i <= to; ++i) {
            const double at = std::min<double>(from, i * step);
            edges_[i].whole = std::min(static_cast<uint32_t>(at), from - 1);
            edges_[i].part = static_cast<float>(at - edges_[i].whole);
        }
        scale_ = static_cast<float>(1 / step);
    }

    void shrink(const uint16_t *row, uint16_t *to)
    {
        uint32_t sum = 0;
        for (size_t x = 0; x + 1 < running_.size(); ++x) {
            running_[x] = sum;
            sum += row[x];
        }
        const size_t count = edges_.size() - 1;
        for (size_t i = 0; i < count; ++i) {
            const Edge &left = edges_[i];
            const Edge &right = edges_[i + 1];
            const auto whole = static_cast<float>(
                static_cast<int64_t>(running_[right.whole] - running_[left.whole]));
            const float area = whole + right.part * row[right.whole] - left.part * row[left.whole];
            to[i] = static_cast<uint16_t>(std::clamp(area * scale_ + 0.5f, 0.0f, 65535.0f));
        }
    }

private:
    struct Edge
    {
        uint32_t whole = 0;
        float part = 0; ///< of the pixel \a whole
    };

    std::vector<uint32_t> running_; ///< sums of the pixels before each
    std::vector<Edge> edges_;
    float scale_ = 1;
};

} // namespace

Picture shrink(const client::FrameView &frame, uint32_t width, uint32_t height)
{
    Picture picture{width, height, std::vector<uint16_t>(size_t(width) * height)};
    const std::vector<Cover> covers = coversOf(frame.height, height);
    RowShrinker shrinker(frame.width, width);
    std::vector<uint32_t> sums(frame.width);
    std::vector<uint16_t> mean(frame.width);
    for (uint32_t y = 0; y < height; ++y) {
        const Cover &cover = covers[y];
        const uint16_t *row = frame.row(cover.first).data();
        if (cover.weights.size() > 1) {
            std::fill(sums.begin(), sums.end(), 0);
            for (size_t i = 0; i < cover.weights.size(); ++i)
                addRow(frame.row(static_cast<uint32_t>(cover.first + i)), cover.weights[i],
                       sums.data());
            for (size_t x = 0; x < mean.size(); ++x)
                mean[x] = pixelOf(sums[x]);
            row = mean.data();
        }
        uint16_t *const to = &picture.pixels[size_t(y) * width];
        if (width == frame.width)
            std::copy(row, row + width, to);
        else
            shrinker.shrink(row, to);
    }
    return picture;
}

void fitInto(const client::FrameView &frame, uint32_t &width, uint32_t &height)
{
    const double scale = std::min({1.0, double(std::max(width, 1u)) / frame.width,
                                   double(std::max(height, 1u)) / frame.height});
    width = std::clamp<uint32_t>(static_cast<uint32_t>(std::lround(frame.width * scale)), 1,
                                 frame.width);
    height = std::clamp<uint32_t>(static_cast<uint32_t>(std::lround(frame.height * scale)), 1,
                                  frame.height);
}

void toShades(std::span<const uint16_t> pixels, tools::Levels levels, uint8_t *shades)
{
    const int32_t black = levels.black;
    const int32_t span = std::max(1, levels.white - levels.black);
    const float factor = 255.0f / static_cast<float>(span);
    const uint16_t *const from = pixels.data();
    const size_t count = pixels.size();
    for (size_t i = 0; i < count; ++i) {
        const int32_t above = std::max(0, from[i] - black);
        const auto within = static_cast<float>(std::min(above, span));
        shades[i] = static_cast<uint8_t>(static_cast<int32_t>(within * factor + 0.5f));
    }
}

Histogram histogramOf(const client::FrameView &frame)
{
    constexpr uint64_t kSample = 1 << 16;
    std::vector<uint32_t> counts(1 << 16);
    // Steps that share no factor with usual widths, or a sample would be of a few columns.
    const uint64_t step = std::max<uint64_t>(1, frame.pixels.size() / kSample) | 1;
    uint64_t total = 0;
    uint16_t highest = 0;
    for (uint64_t at = 0; at < frame.pixels.size(); at += step, ++total) {
        const uint16_t value = frame.pixels[at];
        ++counts[value];
        highest = std::max(highest, value);
    }
    Histogram histogram;
    const auto width = static_cast<unsigned>(std::bit_width(highest));
    histogram.shift = width > 8 ? width - 8 : 0;
    histogram.bins.resize(Histogram::kBins);
    const uint64_t margin = total / 1000;
    uint64_t below = 0;
    bool blackFound = false;
    for (uint32_t value = 0; value <= highest; ++value) {
        histogram.bins[value >> histogram.shift] += counts[value];
        below += counts[value];
        if (!blackFound && below > margin) {
            histogram.levels.black = static_cast<uint16_t>(value);
            blackFound = true;
        }
        if (below - counts[value] < total - margin && counts[value] > 0)
            histogram.levels.white = static_cast<uint16_t>(value);
    }
    return histogram;
}

} // namespace tavu::view
