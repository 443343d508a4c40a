#include "registry/name_filter.h"

#include <gtest/gtest.h>

namespace tavu {
namespace {

TEST(NameFilterTest, matches)
{
    const struct
    {
        const char *filter;
        const char *name;
        bool matches;
    } cases[] = {
        {"ABC*|x?z", "abcdef", true},
        {"ABC*|x?z", "XYZ", true},
        {"ABC*|x?z", "xz", false},
        {"ABC*|x?z", "xyzz", false},
        {"abc", "abcd", false},
        {"abcd", "abc", false},
        {"a*b", "ab", true},
        {"a*b", "aXbXb", true},
        {"a*b", "aXbX", false},
        {"*a", "bbba", true},
        {"*a", "ab", false},
        {"**a**", "xax", true},
        {"a*?", "a", false},
        {"a*?", "ab", true},
        {"*ab*", "aab", true},
        {"?", "?", true},
        {"?", "", false},
        {"a?c", "a*c", true},
        {"a\\*c", "a*c", false},
        {"*", "", true},
        {"*", "anything", true},
        {"a*", "", false},
        {"", "", true},
        {"", "a", false},
        {"a||b", "", true},
        {"a|b|", "", true},
        {"a|b", "", false},
        {"a|b", "a|b", false},
        {"|||c", "C", true},
        {"caf\xc3\x89", "CAF\xc3\x89", true},
        {"caf?", "caf\xc3\x89", false},
    };
    for (const auto &c : cases)
        EXPECT_EQ(matchesFilter(c.filter, c.name), c.matches) << c.filter << " on " << c.name;
}

TEST(NameFilterTest, nameThatHoldsTheEndMarkerStaysWithinThePattern)
{
    EXPECT_FALSE(matchesFilter("a", std::string("a\0", 2)));
}

// One reading of the stars after the other would outlive the test's time limit here.
TEST(NameFilterTest, manyStarsCostNoMoreThanTheLengths)
{
    std::string pattern;
    for (int i = 0; i < 200; ++i)
        pattern += "*a";
    const std::string name(2000, 'a');
    EXPECT_TRUE(matchesFilter(pattern, name));
    EXPECT_FALSE(matchesFilter(pattern + "b", name));
}

} // namespace
} // namespace tavu
