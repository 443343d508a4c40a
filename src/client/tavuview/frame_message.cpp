#include "client/tavuview/frame_message.h"

#include "client/tools/json_values.h"

#include <algorithm>
#include <cstring>

namespace tavu::view {

namespace {

constexpr uint32_t kMagic = 0x31465654; ///< "TVF1"
constexpr uint32_t kMostPixels = 8192;  ///< of a side of what a browser shows

/// As it goes to the browser, little-endian like every machine with a recorder. Its members have no
/// gaps between them.
struct Head
{
    uint32_t magic = kMagic;
    uint16_t flags = 0;
    uint16_t histogramShift = 0;
    uint16_t frameWidth = 0;
    uint16_t frameHeight = 0;
    uint16_t x = 0; ///< the part of the frame that is shown
    uint16_t y = 0;
    uint16_t partWidth = 0;
    uint16_t partHeight = 0;
    uint16_t width = 0; ///< of the picture
    uint16_t height = 0;
    uint16_t black = 0;
    uint16_t white = 0;
    uint32_t reserved = 0;
    uint64_t number = 0;
    uint64_t microseconds = 0;
    uint16_t pointerX = 0;
    uint16_t pointerY = 0;
    uint16_t value = 0;
    uint16_t hasValue = 0;
    uint64_t reservedToo = 0;
};
static_assert(sizeof(Head) == 64);

constexpr uint16_t kWholePixels = 1;
constexpr uint16_t kHasHistogram = 2;

uint16_t narrow(uint32_t number)
{
    return static_cast<uint16_t>(number);
}

/// A number of a wish.
uint32_t number(const tools::Json &json, const char *key, uint32_t most, uint32_t absent)
{
    const auto found = json.find(key);
    if (found == json.end() || found->is_null())
        return absent;
    if (!found->is_number_unsigned() || found->get<uint64_t>() > most)
        throw BadRequest(std::string("\"") + key + "\" isn't a number up to " +
                         std::to_string(most));
    return found->get<uint32_t>();
}

} // namespace

ViewWish parseWish(std::string_view text)
{
    const tools::Json json = tools::Json::parse(text, nullptr, false);
    if (!json.is_object())
        throw BadRequest("a wish for a picture is a JSON object");
    ViewWish wish;
    wish.wholePixels = number(json, "pixels", 1, 0) != 0;
    wish.width = std::max(1u, number(json, "width", kMostPixels, wish.width));
    wish.height = std::max(1u, number(json, "height", kMostPixels, wish.height));
    wish.x = number(json, "x", 0xFFFF, 0);
    wish.y = number(json, "y", 0xFFFF, 0);
    wish.histogram = number(json, "histogram", 1, 1) != 0;
    if (json.contains("white"))
        wish.levels = {narrow(number(json, "black", 0xFFFF, 0)),
                       narrow(number(json, "white", 0xFFFF, 0xFFFF))};
    if (json.contains("pointerX"))
        wish.pointer = {number(json, "pointerX", 0xFFFF, 0), number(json, "pointerY", 0xFFFF, 0)};
    return wish;
}

const Picture &FrameMaker::picture(uint32_t width, uint32_t height)
{
    const auto [place, isNew] = pictures_.try_emplace({width, height});
    if (isNew)
        place->second = shrink(frame_, width, height);
    return place->second;
}

const Histogram &FrameMaker::histogram()
{
    if (!histogram_)
        histogram_ = histogramOf(frame_);
    return *histogram_;
}

SharedBytes FrameMaker::make(const ViewWish &wish)
{
    Head head;
    const tools::Levels levels = wish.levels ? *wish.levels : histogram().levels;
    head.flags = static_cast<uint16_t>((wish.wholePixels ? kWholePixels : 0) |
                                       (wish.histogram ? kHasHistogram : 0));
    head.frameWidth = narrow(frame_.width);
    head.frameHeight = narrow(frame_.height);
    head.black = levels.black;
    head.white = levels.white;
    head.number = number_;
    head.microseconds = microseconds_;
    if (wish.pointer && wish.pointer->first < frame_.width &&
        wish.pointer->second < frame_.height) {
        head.pointerX = narrow(wish.pointer->first);
        head.pointerY = narrow(wish.pointer->second);
        head.value = frame_.row(wish.pointer->second)[wish.pointer->first];
        head.hasValue = 1;
    }
    uint32_t width = std::min(wish.width, frame_.width);
    uint32_t height = std::min(wish.height, frame_.height);
    head.partWidth = narrow(frame_.width);
    head.partHeight = narrow(frame_.height);
    if (wish.wholePixels) {
        head.x = narrow(std::min(wish.x, frame_.width - width));
        head.y = narrow(std::min(wish.y, frame_.height - height));
        head.partWidth = narrow(width);
        head.partHeight = narrow(height);
    } else {
        width = wish.width;
        height = wish.height;
        fitInto(frame_, width, height);
    }
    head.width = narrow(width);
    head.height = narrow(height);
    const size_t histogramBytes = wish.histogram ? Histogram::kBins * sizeof(uint32_t) : 0;
    if (wish.histogram)
        head.histogramShift = narrow(histogram().shift);

    const size_t pixels = size_t(width) * height;
    const auto bytes = std::make_shared<Bytes>(sizeof head + histogramBytes +
                                               pixels * (wish.wholePixels ? sizeof(uint16_t) : 1));
    uint8_t *to = bytes->data();
    std::memcpy(to, &head, sizeof head);
    to += sizeof head;
    if (wish.histogram)
        std::memcpy(to, histogram().bins.data(), histogramBytes);
    to += histogramBytes;
    if (!wish.wholePixels) {
        const Picture &shown = picture(width, height);
        toShades(shown.pixels, levels, to);
        return bytes;
    }
    for (uint32_t y = 0; y < height; ++y, to += width * sizeof(uint16_t))
        std::memcpy(to, frame_.row(head.y + y).data() + head.x, width * sizeof(uint16_t));
    return bytes;
}

} // namespace tavu::view
