#include "client/tools/text.h"

#include <gtest/gtest.h>

#include <utility>

namespace tavu::tools {
namespace {

const std::string kMark = "\xEF\xBF\xBD";

TEST(Text, ShowsNothingThatATerminalMightObey)
{
    const std::pair<std::string, std::string> cases[] = {
        {"plain ä 漢 😀", "plain ä 漢 😀"},
        {"\033[2J", kMark + "[2J"},
        {"a\nb\x7F", "a" + kMark + "b" + kMark},
        {"\xC2\x9B", kMark},         // a control character in two bytes
        {"\xE2\x80\xAE", kMark},     // turns the writing direction
        {"\xC0\xAF", kMark + kMark}, // a slash in a form that is too long
        {"\xE0\x80\xAF", kMark + kMark + kMark},
        {"\xED\xA0\x80", kMark + kMark + kMark}, // half of a surrogate pair
        {"\xF4\x90\x80\x80", kMark + kMark + kMark + kMark},
        {"a\xE2\x82", "a" + kMark + kMark}, // cut off
        {"\xFF", kMark}};
    for (const auto &[text, shown] : cases)
        EXPECT_EQ(printable(text), shown);
}

TEST(Text, LinesUpColumnsByWhatIsSeen)
{
    EXPECT_EQ(table({{"a", "b"}, {"漢字", "c"}, {"äo\u0308", "d"}}),
              "a     b\n漢字  c\näo\u0308    d\n");
    EXPECT_EQ(cutToWidth("漢字", 4) + cutToWidth("漢字", 3) + cutToWidth("ao\u0308b", 2),
              "漢字漢ao\u0308");
    EXPECT_EQ(plainText("a漢字\xFF"), "a???");
}

TEST(Text, TimesAndSizes)
{
    const std::pair<uint64_t, const char *> times[] = {
        {0, "-"},
        {1, "1601-01-01T00:00:00Z"},
        {116444736000000000, "1970-01-01T00:00:00Z"},
        {133536959999999999, "2024-02-29T15:59:59Z"},
        {2650467743999999999, "9999-12-31T23:59:59Z"},
        {2650467744000000000, "2650467744000000000"},
        {~uint64_t(0), "18446744073709551615"}};
    for (const auto &[timestamp, text] : times)
        EXPECT_EQ(timeText(timestamp), text);
    EXPECT_EQ(exactTimeText(133536959990000012), "2024-02-29T15:59:59.0000012Z");
    const std::pair<uint64_t, const char *> sizes[] = {{999, "999 B"},
                                                       {1000, "1.0 kB"},
                                                       {999'949, "999.9 kB"},
                                                       {999'950, "1.0 MB"},
                                                       {~uint64_t(0), "18.4 EB"}};
    for (const auto &[bytes, text] : sizes)
        EXPECT_EQ(sizeText(bytes), text);
}

} // namespace
} // namespace tavu::tools
