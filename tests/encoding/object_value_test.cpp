#include "encoding/object_value.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <limits>

namespace tavu::test {

namespace {

const std::string kLongText(40, 'x');

Bytes encodedTree(const ObjectValue &value)
{
    return encoded([&](MessageWriter &writer) { writer.writeObject(value); });
}

ObjectValue nested(uint32_t depth)
{
    ObjectValue value = ObjectValue::string(kLongText);
    for (uint32_t i = 0; i < depth; ++i) {
        ObjectValue outer = i % 2 ? ObjectValue::map() : ObjectValue::array();
        if (i % 2)
            outer.mapAppend("k", std::move(value));
        else
            outer.arrayAppend(std::move(value));
        value = std::move(outer);
    }
    return value;
}

} // namespace

TEST(ObjectValue, AccessorsTakeTheirTagOnly)
{
    ObjectValue values[] = {ObjectValue(),
                            ObjectValue::negative(-1),
                            ObjectValue::positive(1),
                            ObjectValue::string("s"),
                            ObjectValue::boolean(true),
                            ObjectValue::number(1),
                            ObjectValue::blob("b", 1),
                            ObjectValue::map(),
                            ObjectValue::array()};
    const struct
    {
        std::function<void(ObjectValue &)> access;
        std::vector<int> tags;
        const char *complaint;
    } cases[] = {
        {[](auto &v) { v.asPositive(); },
         {2},
         "Object type is not positive integer, but positive integer expected."},
        {[](auto &v) { v.asNegative(); },
         {1},
         "Object type is not negative integer, but negative integer expected."},
        {[](auto &v) { v.asBool(); }, {4}, "Object type is not bool, but bool expected."},
        {[](auto &v) { v.asFloat(); }, {5}, "Object type is not float, but float expected."},
        {[](auto &v) { v.asString(); }, {3}, "Object type is not string, but string expected."},
        {[](auto &v) { v.blobData(); }, {6}, "Object type is not blob, but blob expected."},
        {[](auto &v) { v.blobSize(); }, {6}, "Object type is not blob, but blob expected."},
        {[](auto &v) { v.takeBlob(); }, {6}, "Object type is not blob, but blob expected."},
        {[](auto &v) { v.size(); },
         {3, 6, 7, 8},
         "Object does not have size, array/map/string/blob expected."},
        {[](auto &v) { v.arrayAppend(ObjectValue()); }, {8}, "Object is not an array."},
        {[](auto &v) { v.arrayAt(0); }, {8}, "Object is not an array."},
        {[](auto &v) { v.mapContains("k"); }, {7}, "Object is not a map."},
        {[](auto &v) { v.mapIndexOf("k"); }, {7}, "Object is not a map."},
        {[](auto &v) { v.mapAppend("k", ObjectValue()); }, {7}, "Object is not a map."},
        {[](auto &v) { v.mapAt("k"); }, {7}, "Object is not a map."},
        {[](auto &v) { v.mapKeyAt(0); }, {7}, "Object is not a map."},
        {[](auto &v) { v.mapValueAt(0); }, {7}, "Object is not a map."},
    };
    for (const auto &it : cases) {
        for (int tag = 0; tag < 9; ++tag) {
            ASSERT_EQ(static_cast<int>(values[tag].type()), tag);
            const bool fits = std::find(it.tags.begin(), it.tags.end(), tag) != it.tags.end();
            EXPECT_EQ(raisedBy([&] { it.access(values[tag]); }), fits ? "" : it.complaint) << tag;
        }
    }
}

TEST(ObjectValue, AsInt64RangeIsInverted)
{
    const char *outOfRange = "Integer value out of range, expected int64_t.";
    EXPECT_EQ(raisedBy([] { ObjectValue::negative(-1).asInt64(); }), outOfRange);
    EXPECT_EQ(ObjectValue::negative(5).asInt64(), 5);
    EXPECT_EQ(ObjectValue::positive(~uint64_t(0)).asInt64(), -1);
    EXPECT_EQ(raisedBy([] { ObjectValue::boolean(true).asInt64(); }),
              "Object type is not an integer, but an integer was expected.");
}

TEST(ObjectValue, IndexAndKeyFaultsHaveKindsOfTheirOwn)
{
    ObjectValue array = ObjectValue::array(4), map = ObjectValue::map(4);
    EXPECT_THROW(array.arrayAt(0), std::out_of_range);
    EXPECT_EQ(raisedBy([&] { array.arrayAt(0); }), "Index out of array range.");
    EXPECT_THROW(map.mapKeyAt(0), std::out_of_range);
    EXPECT_EQ(raisedBy([&] { map.mapValueAt(0); }), "Index out of map range.");
    EXPECT_THROW(map.mapAt("k"), std::runtime_error);
    EXPECT_EQ(raisedBy([&] { map.mapAt("k"); }), "Key not found in map.");
    EXPECT_EQ(map.mapIndexOf("k"), -1);
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
    const Bytes before = encodedTree(original);
    ObjectValue copy(original);
    EXPECT_EQ(copy.capacity(), 2u);
    EXPECT_EQ(copy.mapAt("list").capacity(), 1u);
    copy.mapAt("list").arrayAt(0) = ObjectValue();
    copy.mapAt("blob").takeBlob();
    EXPECT_EQ(encodedTree(original), before);

    // Itself, and a part of itself, either way.
    ObjectValue &self = original;
    original = self;
    original = std::move(self);
    EXPECT_EQ(encodedTree(original), before);
    original = original.mapAt("list");
    EXPECT_EQ(original.size(), 1u);
    original = std::move(original.arrayAt(0));
    EXPECT_EQ(original.asString(), kLongText);
}

TEST(ObjectValue, CopiedTextKeepsItsSizeButNothingBehindItsNul)
{
    for (const size_t tail : {3u, 30u}) {
        const std::string text = std::string("ab") + '\0' + std::string(tail, 'x');
        const ObjectValue copy{ObjectValue(ObjectValue::string(text))};
        const ObjectValue original = ObjectValue::string(text);
        const ObjectValue copied(original);
        const std::string expected = std::string("ab") + std::string(tail + 1, '\0');
        EXPECT_EQ(std::string(original.asString(), original.size()), text);
        EXPECT_EQ(std::string(copied.asString(), copied.size()), expected);
        EXPECT_EQ(std::string(copy.asString(), copy.size()), text);
    }
}

TEST(ObjectValue, MovedFromAndEmptiedValues)
{
    for (const std::string &text : {std::string("short"), kLongText}) {
        ObjectValue source = ObjectValue::string(text);
        const ObjectValue first(std::move(source)), second(std::move(source));
        EXPECT_EQ(first.asString(), text);
        EXPECT_EQ(source.type(), ObjectType::Nil);
        EXPECT_EQ(second.type(), ObjectType::Nil);
    }
    ObjectValue blob = ObjectValue::blob("abc", 3);
    const OwnedBlob bytes = blob.takeBlob();
    EXPECT_EQ(bytes[2], 'c');
    EXPECT_EQ(blob.blobSize(), 0u);
    EXPECT_EQ(blob.blobData(), nullptr);
    EXPECT_EQ(encodedTree(ObjectValue(blob)), hex("c4 00"));
    EXPECT_EQ(ObjectValue::blob(nullptr, 0).blobSize(), 0u);
}

TEST(ObjectValue, DepthCostsNoStack)
{
    constexpr uint32_t kDepth = 100'000;
    ObjectValue tree = nested(kDepth);
    ObjectValue copy(tree);
    EXPECT_EQ(encodedTree(copy), encodedTree(tree));
    tree = ObjectValue();
    uint32_t depth = 0;
    for (const ObjectValue *at = &copy; at->type() != ObjectType::String; ++depth)
        at = at->type() == ObjectType::Map ? &at->mapAt("k") : &at->arrayAt(0);
    EXPECT_EQ(depth, kDepth);
}

} // namespace tavu::test
