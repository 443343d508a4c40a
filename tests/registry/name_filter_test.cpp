#include "registry/name_filter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tavu {
namespace {

TEST(NameFilterTest, Matches)
{
    // Behind a slash a filter, and then names that match it (+) or don't (-).
    std::istringstream words("/ABC*|x?z +abcdef +XYZ -xz -xyzz /abc -abcd /abcd -abc "
                             "/a*b +ab +aXbXb -aXbX /*a +bbba -ab /**a** +xax /a*? -a +ab "
                             "/*ab* +aab /? +? - /a?c +a*c /a\\*c -a*c /* + +anything /a* - "
                             "/ + -a /a||b + /a|b| + /a|b - -a|b /|||c +C "
                             "/caf\xc3\x89 +CAF\xc3\x89 /caf? -caf\xc3\x89");
    std::string filter;
    for (std::string word; words >> word;) {
        const std::string name = word.substr(1);
        if (word[0] == '/')
            filter = name;
        else
            EXPECT_EQ(matchesFilter(filter, name), word[0] == '+') << filter << " on " << name;
    }
}

TEST(NameFilterTest, NameThatHoldsTheEndMarkerStaysWithinThePattern)
{
    EXPECT_FALSE(matchesFilter("a", std::string("a\0", 2)));
}

// A matcher that tries all ways to split the name between the stars would take years.
TEST(NameFilterTest, ManyStarsCostNoMoreThanTheLengths)
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
