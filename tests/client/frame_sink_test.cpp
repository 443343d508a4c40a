#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <utility>

namespace tavu::ctl {
namespace {

TEST(FrameSink, PgmIsBigEndian)
{
    const std::vector<uint16_t> pixels = {0x0102, 0xFFFE, 0, 1, 2, 3};
    const std::vector<uint8_t> bytes = encodePgm({3, 2, pixels});
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              std::string("P5\n3 2\n65535\n\1\2\xFF\xFE\0\0\0\1\0\2\0\3", 25));
}

TEST(FrameSink, PathsTakeTheNumberWhereTheySay)
{
    const std::tuple<const char *, uint64_t, const char *> cases[] = {
        {"a%d.png", 7, "a7.png"},
        {"a%04d.png", 7, "a0007.png"},
        {"a%02d.png", 123, "a123.png"},
        {"a.png", 7, "a-7.png"},
        {"dir.d/a", 7, "dir.d/a-7"},
        {"dir/.hidden", 7, "dir/.hidden-7"},
        {"50%.png", 7, "50%-7.png"},
        {"%s%d", 7, "%s7"},
        {"%99999999999d", 7, "%99999999999d-7"},
        {"%%d", 7, "%7"}};
    for (const auto &[path, number, result] : cases)
        EXPECT_EQ(picturePath(path, number), result);
    EXPECT_EQ(portPath("p%p/%p-%d.png", 12), "p12/12-%d.png");
}

TEST(FrameSink, FormatsGoByTheEnding)
{
    EXPECT_EQ(frameFormatOf("x/a.PNG"), FrameFormat::Png);
    EXPECT_EQ(frameFormatOf("a.b.pgm"), FrameFormat::Pgm);
    EXPECT_EQ(frameFormatOf("a.raw"), FrameFormat::Raw);
    for (const char *path : {"a", ".png", "a.jpg", "a.terminal", "x.png/a", "-", ""})
        EXPECT_EQ(frameFormatOf(path), std::nullopt) << path;
}

TEST(FrameSink, DrawingFitsAndUsesTheWholeScale)
{
    // Width and height, and the columns and lines that they take of 80 and 20; a line shows two
    // rows of pixels.
    const std::array<uint32_t, 4> cases[] = {
        {1, 1, 1, 1},     {2, 3, 2, 2},     {80, 40, 80, 20}, {1280, 1024, 50, 20},
        {5000, 1, 80, 1}, {1, 5000, 1, 20}, {81, 40, 80, 20}};
    for (const auto &[width, height, columns, lines] : cases) {
        std::vector<uint16_t> pixels(size_t(width) * height, 100);
        pixels[0] = 90;
        const std::string text = drawFrame({width, height, pixels}, 80, 20, Shades::Colours);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), lines) << width << "x" << height;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\x96'), lines * columns); // of half blocks
    }
    const std::vector<uint16_t> two = {7, 8};
    EXPECT_EQ(drawFrame({1, 2, two}, 80, 20, Shades::Colours),
              "\033[38;5;232m\033[48;5;255m\xE2\x96\x80\033[0m\n");
    const std::vector<uint16_t> six = {0, 0, 900, 0, 900, 900};
    EXPECT_EQ(drawFrame({2, 3, six}, 80, 20, Shades::Characters), "= \n@@\n");
    EXPECT_NE(drawFrame({0, 5, {}}, 80, 20, Shades::Colours), "");
}

TEST(FrameSink, LevelsSpreadAndClip)
{
    const std::vector<uint16_t> few = {0, 100, 150, 200, 65535};
    EXPECT_EQ(spread({5, 1, few}, parseLevels("100-200")({5, 1, few})),
              (std::vector<uint16_t>{0, 0, 32767, 65535, 65535}));
    std::vector<uint16_t> many(2000, 500);
    const uint16_t outliers[] = {0, 9, 65535, 700, 600};
    std::copy(std::begin(outliers), std::end(outliers), many.begin());
    const Levels levels = levelsOf({2000, 1, many});
    EXPECT_EQ(std::pair(levels.black, levels.white), std::pair(uint16_t(500), uint16_t(600)));
    EXPECT_EQ(spread({5, 1, few}, {7, 7}).back(), 0);
    for (const char *text : {"", "5", "5-5", "9-5", "-5", "5-", "0-65536", "automatic"})
        EXPECT_THROW(parseLevels(text), UsageError) << text;
}

TEST(FrameSink, SaysWhyAFileCannotBeMade)
{
    const std::vector<uint16_t> pixels = {1};
    const auto sink = makeFileSink({FrameFormat::Pgm, "no/such/folder/a.pgm"});
    EXPECT_THROW(sink->put(0, {1, 1, pixels}), Failure);
    EXPECT_THROW(makeFileSink({FrameFormat::Raw, "no/such/folder/a.raw"}), Failure);
}

TEST(FrameSink, FilesOfOneSizeBeginWithIt)
{
    const std::vector<uint16_t> pixels = {0x0102, 0xFFFE, 3};
    const std::string bytes("\2\1\xFE\xFF\3\0", 6);
    const std::string shape = "{'descr': '<u2', 'fortran_order': False, 'shape': (2, 1, 3), }";
    const struct
    {
        FrameFormat format;
        const char *path;
        std::string content;
    } cases[] = {
        {FrameFormat::Npy, "two.npy",
         std::string("\x93NUMPY\1\0\x76\0", 10) + shape + std::string(117 - shape.size(), ' ') +
             "\n" + bytes + bytes},
        {FrameFormat::Y4m, "two.y4m",
         "YUV4MPEG2 W3 H1 F29970:1000 Ip A1:1 Cmono16\nFRAME\n" + bytes + "FRAME\n" + bytes}};
    for (const auto &[format, path, content] : cases) {
        const auto sink = makeFileSink({format, path, 2, 29.97});
        sink->put(0, {3, 1, pixels});
        EXPECT_THROW(sink->put(1, {1, 3, pixels}), Failure);
        sink->put(1, {3, 1, pixels});
        sink->finish();
        std::ifstream file(path, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), content) << path;
        file.close();
        std::filesystem::remove(path);
    }
}

} // namespace
} // namespace tavu::ctl
