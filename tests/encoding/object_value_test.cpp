#include "encoding/object_value.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <tuple>

namespace tavu::test {

static const std::string kLongText(40, 'x');

TEST(ObjectValue, AccessorsTakeTheirTagOnly)
{
    using V = ObjectValue;
    V values[] = {V(),          V::negative(-1), V::positive(1), V::string("s"), V::boolean(true),
                  V::number(1), V::blob("b", 1), V::map(),       V::array()};
    const std::string noArray = "Object is not an array.", noMap = "Object is not a map.",
                      noSize = "Object does not have size, array/map/string/blob expected.";
    const auto wrong = [](const std::string &type) {
        return "Object type is not " + type + ", but " + type + " expected.";
    };
    // The accessor, the tags that it takes, and what it says of others.
    const std::tuple<void (*)(ObjectValue &), std::string, std::string> cases[] = {
        {[](auto &v) { v.asPositive(); }, "2", wrong("positive integer")},
        {[](auto &v) { v.asNegative(); }, "1", wrong("negative integer")},
        {[](auto &v) { v.asBool(); }, "4", wrong("bool")},
        {[](auto &v) { v.asFloat(); }, "5", wrong("float")},
        {[](auto &v) { v.asString(); }, "3", wrong("string")},
        {[](auto &v) { v.blobData(); }, "6", wrong("blob")},
        {[](auto &v) { v.blobSize(); }, "6", wrong("blob")},
        {[](auto &v) { v.takeBlob(); }, "6", wrong("blob")},
        {[](auto &v) { v.size(); }, "3678", noSize},
        {[](auto &v) { v.arrayAppend(ObjectValue()); }, "8", noArray},
        {[](auto &v) { v.arrayAt(0); }, "8", noArray},
        {[](auto &v) { v.mapContains("k"); }, "7", noMap},
        {[](auto &v) { v.mapIndexOf("k"); }, "7", noMap},
        {[](auto &v) { v.mapAppend("k", ObjectValue()); }, "7", noMap},
        {[](auto &v) { v.mapAt("k"); }, "7", noMap},
        {[](auto &v) { v.mapKeyAt(0); }, "7", noMap},
        {[](auto &v) { v.mapValueAt(0); }, "7", noMap}};
    for (const auto &[access, tags, complaint] : cases) {
        for (ObjectValue &value : values) {
            const std::string tag = std::to_string(&value - values);
            ASSERT_EQ(std::to_string(static_cast<int>(value.type())), tag);
            const bool fits = tags.find(tag) != tags.npos;
            EXPECT_EQ(errorOf([&, access = access] { access(value); }), fits ? "" : complaint)
                << tag;
        }
    }
}

TEST(ObjectValue, RangeIndexAndKeyFaultsHaveTextsOfTheirOwn)
{
    // asInt64() has its range the wrong way round.
    EXPECT_EQ(ObjectValue::negative(5).asInt64(), 5);
    EXPECT_EQ(ObjectValue::positive(~uint64_t(0)).asInt64(), -1);
    ObjectValue array = ObjectValue::array(4), map = ObjectValue::map(4);
    EXPECT_THROW(array.arrayAt(0), std::out_of_range);
    EXPECT_EQ(map.mapIndexOf("k"), -1);
    const std::pair<std::function<void()>, const char *> cases[] = {
        {[] { ObjectValue::negative(-1).asInt64(); },
         "Integer value out of range, expected int64_t."},
        {[] { ObjectValue::boolean(true).asInt64(); },
         "Object type is not an integer, but an integer was expected."},
        {[&] { array.arrayAt(0); }, "Index out of array range."},
        {[&] { map.mapKeyAt(0); }, "Index out of map range."},
        {[&] { map.mapValueAt(0); }, "Index out of map range."},
        {[&] { map.mapAt("k"); }, "Key not found in map."}};
    for (const auto &[operation, complaint] : cases)
        EXPECT_EQ(errorOf(operation), complaint);
}

TEST(ObjectValue, MapFindsTheFirstOfItsExactKeys)
{
    ObjectValue map = ObjectValue::map();
    const std::string keys[] = {"", "a", "A", "aa", "a", kLongText, kLongText + "y"};
    for (const std::string &key : keys)
        map.mapAppend(key.c_str(), ObjectValue::positive(map.size()));
    for (uint32_t i = 0; i < map.size(); ++i) {
        EXPECT_EQ(map.mapKeyAt(i), keys[i]);
        EXPECT_EQ(map.mapAt(keys[i].c_str()).asPositive(), i == 4 ? 1 : i);
        EXPECT_EQ(map.mapValueAt(i).asPositive(), i);
    }
    map.mapAt("aa") = ObjectValue::boolean(true);
    EXPECT_TRUE(map.mapValueAt(3).asBool());
}

TEST(ObjectValue, GrowsByDoublingFromTwo)
{
    ObjectValue map = ObjectValue::map(), array = ObjectValue::array(3);
    const uint32_t mapRoom[] = {2, 2, 4, 4, 8}, arrayRoom[] = {3, 3, 3, 6, 6};
    for (int i = 0; i < 5; ++i) {
        // The key and the value come out of the very slots that move.
        map.mapAppend(i ? map.mapKeyAt(0) : "key",
                      i ? std::move(map.mapValueAt(0)) : ObjectValue());
        map.mapValueAt(0) = ObjectValue::string(kLongText);
        array.arrayAppend(ObjectValue::string(kLongText));
        EXPECT_EQ(map.capacity(), mapRoom[i]);
        EXPECT_EQ(array.capacity(), arrayRoom[i]);
    }
    EXPECT_STREQ(map.mapKeyAt(4), "key");
    EXPECT_EQ(map.mapValueAt(4).asString(), kLongText);
    EXPECT_EQ(ObjectValue::array(0).capacity(), 0u);
    EXPECT_EQ(ObjectValue::map(7).capacity(), 7u);
}

TEST(ObjectValue, CopiesAreDeepAndTight)
{
    ObjectValue original = ObjectValue::map(9);
    original.mapAppend("list", ObjectValue::array(5));
    original.mapAt("list").arrayAppend(ObjectValue::string(kLongText));
    original.mapAppend("blob", ObjectValue::blob("\1\2\3", 3));
    const Bytes before = encoded(original);
    ObjectValue copy(original);
    EXPECT_EQ(copy.capacity(), 2u);
    EXPECT_EQ(copy.mapAt("list").capacity(), 1u);
    copy.mapAt("list").arrayAt(0) = ObjectValue();
    copy.mapAt("blob").takeBlob();
    EXPECT_EQ(encoded(original), before);

    // Itself, and a part of itself, either way.
    ObjectValue &self = original;
    original = self;
    original = std::move(self);
    EXPECT_EQ(encoded(original), before);
    original = original.mapAt("list");
    EXPECT_EQ(original.size(), 1u);
    original = std::move(original.arrayAt(0));
    EXPECT_EQ(original.asString(), kLongText);
}

TEST(ObjectValue, CopiedTextKeepsItsSizeButNothingBehindItsNul)
{
    for (const size_t tail : {3u, 30u}) {
        const std::string head = std::string("ab") + '\0', text = head + std::string(tail, 'x');
        const ObjectValue original = ObjectValue::string(text);
        const ObjectValue copied(original); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_EQ(std::string(original.asString(), original.size()), text);
        EXPECT_EQ(std::string(copied.asString(), copied.size()), head + std::string(tail, '\0'));
    }
}

TEST(ObjectValue, MovedFromAndEmptiedValues)
{
    for (const std::string &text : {std::string("short"), kLongText}) {
        ObjectValue source = ObjectValue::string(text);
        // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): it is nil
        const ObjectValue first(std::move(source)), second(std::move(source));
        EXPECT_EQ(first.asString(), text);
        EXPECT_EQ(source.type(), ObjectType::Nil);
        // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
        EXPECT_EQ(second.type(), ObjectType::Nil);
    }
    ObjectValue blob = ObjectValue::blob("abc", 3);
    EXPECT_EQ(blob.takeBlob()[2], 'c');
    EXPECT_EQ(blob.blobSize(), 0u);
    EXPECT_EQ(blob.blobData(), nullptr);
    for (const ObjectValue &empty : {ObjectValue(blob), ObjectValue::blob(nullptr, 0)})
        EXPECT_EQ(encoded(empty), fromHex("c4 00"));
}

TEST(ObjectValue, DepthCostsNoStack)
{
    constexpr uint32_t kDepth = 100'000;
    ObjectValue tree = ObjectValue::string(kLongText);
    for (uint32_t i = 0; i < kDepth; ++i) {
        ObjectValue outer = i % 2 ? ObjectValue::map() : ObjectValue::array();
        i % 2 ? outer.mapAppend("k", std::move(tree)) : outer.arrayAppend(std::move(tree));
        tree = std::move(outer);
    }
    ObjectValue copy(tree);
    EXPECT_EQ(encoded(copy), encoded(tree));
    tree = ObjectValue();
    uint32_t depth = 0;
    for (const ObjectValue *at = &copy; at->type() != ObjectType::String; ++depth)
        at = at->type() == ObjectType::Map ? &at->mapAt("k") : &at->arrayAt(0);
    EXPECT_EQ(depth, kDepth);
}

} // namespace tavu::test
