#include "client/tavuview/access.h"
#include "client/tavuview/frame_message.h"
#include "client/tavuview/scale.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace tavu::view {
namespace {

/// The mean of the area that a new pixel covers, by its definition.
double meanOf(const client::FrameView &frame, double left, double right, double top, double bottom)
{
    double sum = 0;
    for (uint32_t y = 0; y < frame.height; ++y) {
        const double rows = std::min<double>(bottom, y + 1) - std::max<double>(top, y);
        for (uint32_t x = 0; x < frame.width && rows > 0; ++x)
            sum += rows * frame.row(y)[x] *
                   std::max(0.0, std::min<double>(right, x + 1) - std::max<double>(left, x));
    }
    return sum / (right - left) / (bottom - top);
}

TEST(Viewer, ShrunkPixelsAreTheMeansOfWhatTheyCover)
{
    constexpr uint32_t kWidth = 61, kHeight = 47;
    std::vector<uint16_t> pixels(kWidth * kHeight);
    uint32_t state = 1;
    for (uint16_t &pixel : pixels)
        pixel = static_cast<uint16_t>((state = state * 1664525 + 1013904223) >> 16);
    const client::FrameView frame{kWidth, kHeight, pixels};
    const std::pair<uint32_t, uint32_t> sizes[] = {{61, 47}, {60, 46}, {30, 23}, {61, 5},
                                                   {7, 47},  {1, 1},   {20, 15}};
    for (const auto &[width, height] : sizes) {
        const Picture picture = shrink(frame, width, height);
        for (uint32_t y = 0; y < height; ++y) {
            for (uint32_t x = 0; x < width; ++x) {
                const double right =
                    meanOf(frame, double(x) * kWidth / width, (x + 1.0) * kWidth / width,
                           double(y) * kHeight / height, (y + 1.0) * kHeight / height);
                ASSERT_NEAR(picture.pixels[y * width + x], right, 3)
                    << width << " " << x << "," << y;
            }
        }
    }
    // What is plain stays as it is, also at the ends of the range.
    for (const uint16_t value : {uint16_t(0), uint16_t(1), uint16_t(12345), uint16_t(65535)}) {
        std::fill(pixels.begin(), pixels.end(), value);
        for (const uint16_t pixel : shrink(frame, 17, 13).pixels)
            ASSERT_EQ(pixel, value);
    }
}

TEST(Viewer, ShadesGoFromBlackToWhite)
{
    const std::vector<uint16_t> pixels = {0, 99, 100, 150, 200, 201, 65535};
    std::vector<uint8_t> shades(pixels.size());
    toShades(pixels, {100, 200}, shades.data());
    EXPECT_EQ(shades, (std::vector<uint8_t>{0, 0, 0, 128, 255, 255, 255}));
    toShades(pixels, {0, 65535}, shades.data());
    EXPECT_EQ(shades.back(), 255);
    toShades(pixels, {100, 100}, shades.data());
    EXPECT_EQ(shades, (std::vector<uint8_t>{0, 0, 0, 255, 255, 255, 255}));
}

TEST(Viewer, FrameMessagesKeepInsideTheFrame)
{
    std::vector<uint16_t> pixels(12);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint16_t>(1000 * i);
    FrameMaker maker({4, 3, pixels}, 7, 0);
    const SharedBytes part =
        maker.make(parseWish(R"({"pixels":1,"width":2,"height":9,"x":60000,"y":2,"histogram":0})"));
    ASSERT_EQ(part->size(), 64 + 2 * 3 * sizeof(uint16_t));
    uint16_t last = 0;
    std::memcpy(&last, &part->back() - 1, sizeof last);
    EXPECT_EQ(last, 11000);
    // The whole, no larger than the frame, and the value under the pointer if it is there.
    const SharedBytes whole = maker.make(parseWish(
        R"({"width":8000,"height":8000,"pointerX":1,"pointerY":2,"black":0,"white":11000})"));
    ASSERT_EQ(whole->size(), 64 + 1024 + 12u);
    EXPECT_EQ(whole->back(), 255);
    EXPECT_EQ((*whole)[52] | (*whole)[53] << 8, 9000);
    EXPECT_EQ((*maker.make(parseWish(R"({"pointerX":4,"pointerY":2})")))[54], 0);
    for (const char *text :
         {"", "[]", "{", R"({"width":-1})", R"({"x":65536})", R"({"black":"a","white":1})"})
        EXPECT_THROW(parseWish(text), BadRequest) << text;
}

TEST(Viewer, TokensAreGoodOnceAndOldOnesForgotten)
{
    Access access(8123);
    WebRequest request;
    request.method = "GET";
    request.path = "/";
    request.host = "localhost:8123";
    const auto status = [&](const std::string &address) {
        request.query["token"] = address.substr(address.find('=') + 1);
        return access.refusal(request).value().status;
    };
    const std::string oldest = access.newAddress();
    std::string newest;
    for (int i = 0; i < 16; ++i)
        newest = access.newAddress();
    EXPECT_EQ(status(oldest), 403u);
    EXPECT_EQ(status(newest), 200u);
    EXPECT_EQ(status(newest), 403u);
    EXPECT_EQ(status(""), 403u);
}

} // namespace
} // namespace tavu::view
