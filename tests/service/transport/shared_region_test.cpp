#include "service/transport/shared_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace tavu {
namespace {

constexpr const char *kBaseName = "tavu_region_test";

TEST(SharedRegionTest, CreatorAndClientSeeOneBlock)
{
    SharedRegion region;
    ASSERT_TRUE(region.createUnique(kBaseName, 5000, false));
    EXPECT_EQ(5000u, region.viewSize());
    const std::string name = region.mappingName();
    removeStaleRegions(kBaseName); // this one is in use
    SharedRegion client;
    ASSERT_TRUE(client.open(name));
    EXPECT_EQ(8192u, client.viewSize());
    EXPECT_EQ(std::string(8192, '\0'), std::string(static_cast<const char *>(client.view()), 8192));
    std::memset(region.view(), 0x5A, 5000);
    EXPECT_EQ(0x5A, static_cast<const unsigned char *>(client.view())[4999]);

    // A mapping outlives its creator, and the name ends with the last mapping.
    region.close();
    region.close();
    EXPECT_EQ(nullptr, region.view());
    EXPECT_EQ("", region.mappingName());
    EXPECT_EQ(0x5A, static_cast<const unsigned char *>(client.view())[4999]);
    client.close();
    EXPECT_FALSE(client.open(name));
    EXPECT_FALSE(client.createNamed("tavu_region_named", 4096, false));
    EXPECT_EQ(nullptr, client.view());
}

TEST(SharedRegionTest, MovesPassTheRegionOn)
{
    SharedRegion first, second, client;
    ASSERT_TRUE(first.createUnique(kBaseName, 100, false));
    ASSERT_TRUE(second.createUnique(kBaseName, 200, false));
    const std::string name = first.mappingName(), oldName = second.mappingName();
    second = std::move(first);
    EXPECT_EQ(name, second.mappingName());
    EXPECT_EQ(100u, second.viewSize());
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): that is the question
    EXPECT_EQ(nullptr, first.view());
    EXPECT_FALSE(client.open(oldName));
    EXPECT_TRUE(client.open(name));
}

TEST(SharedRegionTest, ATakenNameCostsOneNumberAndAFailureAllOfThem)
{
    std::vector<int> numbers(10'002);
    std::srand(1);
    std::generate(numbers.begin(), numbers.end(), std::rand);
    SharedRegion first, next;
    const std::string base = "tavu_numbers_" + std::to_string(std::random_device()()) + "_";
    const auto numberOf = [&base](const SharedRegion &region) {
        return std::stoi(region.mappingName().substr(base.size()), nullptr, 16);
    };
    std::srand(1);
    ASSERT_TRUE(first.createUnique(base, 1, false));
    EXPECT_EQ(numbers[0], numberOf(first));
    // Sizes that can't be had: nothing, and more than any machine has.
    for (const uint64_t size : {uint64_t(0), uint64_t(1) << 60}) {
        EXPECT_FALSE(next.createUnique(base, size, false));
        EXPECT_TRUE(!next.view() && next.viewSize() == 0 && next.mappingName().empty());
        ASSERT_TRUE(next.createUnique(base, 1, false));
        EXPECT_EQ(numbers[10'001], numberOf(next)) << size;
        std::srand(1); // its first number is taken now
        EXPECT_FALSE(next.createUnique(base, size, false));
        ASSERT_TRUE(next.createUnique(base, 1, false));
        EXPECT_EQ(numbers[10'000], numberOf(next)) << size;
        std::srand(1);
        std::rand();
    }
}

} // namespace
} // namespace tavu
