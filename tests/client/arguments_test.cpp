#include "client/tavuctl/arguments.h"

#include <gtest/gtest.h>

namespace tavu::ctl {
namespace {

TEST(Arguments, Durations)
{
    const std::pair<const char *, uint64_t> good[] = {
        {"10s", 10'000'000}, {"10", 10'000'000},    {"1.5s", 1'500'000}, {"500ms", 500'000},
        {"2m", 120'000'000}, {"1h", 3'600'000'000}, {"7us", 7},          {"0", 0}};
    for (const auto &[text, microseconds] : good)
        EXPECT_EQ(parseDuration(text), microseconds) << text;
    for (const char *text : {"", "s", "-1s", "1 s", "1x", "nan", "inf", "1e30h", "0x10"})
        EXPECT_THROW(parseDuration(text), UsageError) << text;
}

TEST(Arguments, HexadecimalBytes)
{
    EXPECT_EQ(parseHex("00ff"), (client::Bytes{0x00, 0xFF}));
    EXPECT_EQ(parseHex("0x0D 0a:7F"), (client::Bytes{0x0D, 0x0A, 0x7F}));
    EXPECT_EQ(parseHex(""), client::Bytes());
    for (const char *text : {"0", "0g", "001", "-1", "0 0", "x0"})
        EXPECT_THROW(parseHex(text), UsageError) << text;
}

TEST(Arguments, FrameSizes)
{
    EXPECT_EQ(parseFrameSize("1280x1024"), std::pair(uint16_t(1280), uint16_t(1024)));
    EXPECT_EQ(parseFrameSize("65535x0"), std::pair(uint16_t(65535), uint16_t(0)));
    for (const char *text : {"", "x", "1280", "1280x", "65536x1", "-1x1", "1x1x1", "1 x1"})
        EXPECT_THROW(parseFrameSize(text), UsageError) << text;
}

TEST(Arguments, RangesOfFrames)
{
    const std::pair<const char *, FrameRanges> good[] = {
        {"all", {{0, 89}}},
        {"5", {{5, 5}}},
        {"0-89", {{0, 89}}},
        {"80-", {{80, 89}}},
        {"first,last", {{0, 0}, {89, 89}}},
        {"3,1-2,85-last", {{3, 3}, {1, 2}, {85, 89}}}};
    for (const auto &[text, ranges] : good)
        EXPECT_EQ(parseFrames(text, 90), ranges) << text;
    EXPECT_EQ(frameCountOf(parseFrames("3,1-2,85-last", 90)), 8u);
    for (const char *text : {"", ",", "1,", "-5", "5-3", "x", "1--2", "1-2-3"})
        EXPECT_THROW(parseFrames(text, 90), UsageError) << text;
    for (const char *text : {"90", "0-90", "18446744073709551615"})
        EXPECT_THROW(parseFrames(text, 90), Failure) << text;
    EXPECT_THROW(parseFrames("all", 0), Failure);
}

} // namespace
} // namespace tavu::ctl
