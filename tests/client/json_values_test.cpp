#include "client/tools/json_values.h"

#include "client/tools/failure.h"

#include <gtest/gtest.h>

namespace tavu::tools {
namespace {

TEST(JsonValues, GoThereAndBack)
{
    for (const char *text : {"null", "true", "0", "18446744073709551615", "-9223372036854775808",
                             "1.5", R"("ä✓")", "[]", "{}", R"([1,[2,{"a":null}]])",
                             R"({"z":1,"a":2})", R"({"$bin":"00ff"})", R"({"$bin":""})"})
        EXPECT_EQ(toJson(toObjectValue(Json::parse(text))).dump(), Json::parse(text).dump());
    EXPECT_EQ(toObjectValue(Json::parse(R"({"$bin":"0A"})")).type(), ObjectType::Blob);
    EXPECT_EQ(toObjectValue(Json::parse(R"({"$bin":1})")).type(), ObjectType::Map);
    EXPECT_EQ(toObjectValue(Json::parse("1")).type(), ObjectType::PositiveInteger);
    EXPECT_THROW(toObjectValue(Json::parse(R"({"$bin":"xyz"})")), UsageError);
}

TEST(JsonValues, AreNotNestedBeyondReason)
{
    const auto nested = [](size_t depth) {
        return Json::parse(std::string(depth, '[') + std::string(depth, ']'));
    };
    EXPECT_NO_THROW(toObjectValue(nested(50)));
    EXPECT_THROW(toObjectValue(nested(5000)), UsageError);
}

} // namespace
} // namespace tavu::tools
