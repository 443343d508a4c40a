#include "encoding/message_reader.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <sstream>
#include <tuple>

namespace tavu::test {

namespace {

using Read = std::function<void(MessageReader &)>;

/// What a read raises on these bytes, from a stream like a file and from memory with bytes behind.
std::string raisedOn(const Bytes &bytes, const Read &read)
{
    const auto raisedFrom = [&](Stream &stream) {
        MessageReader reader(stream);
        return errorOf([&] { read(reader); });
    };
    ReadLog log(bytes);
    const std::string text = raisedFrom(log);
    if (text != "Failed to read.") {
        Bytes memory = bytes + Bytes(40, 0xC1);
        MemStream stream(memory.data(), memory.size());
        EXPECT_EQ(raisedFrom(stream), text);
    }
    return text;
}

void readTree(MessageReader &reader)
{
    ObjectValue value;
    reader.readObject(value);
}

ObjectValue decoded(Bytes bytes)
{
    MemStream stream(bytes.data(), bytes.size());
    ObjectValue value;
    MessageReader(stream).readObject(value);
    EXPECT_EQ(stream.remaining(), 0u);
    return value;
}

} // namespace

TEST(MessageReader, NextFindsTypeValueAndNothingMore)
{
    const std::string types = "n-+sbfxma"; // in the order of their tags
    char type = 0;
    int64_t expected = 0; // or the length
    std::string bytes;
    std::istringstream cases(
        "+ 0 00  + 127 7f  - -32 e0  - -1 ff  + 255 ccff  + 65535 cdffff  + 4294967295 ceffffffff "
        "+ -1 cfffffffffffffffff  + 5 d005  - -5 d0fb  - -32768 d18000  + 32767 d17fff "
        "- -2147483648 d280000000  + 0 d200000000  - -9223372036854775808 d38000000000000000 "
        "n 0 c0  b 0 c2  b 1 c3  f 1 ca3fc00000  f 1 cb3ff8000000000000 "
        "m 15 8f  m 65535 deffff  m 4294967295 dfffffffff  a 15 9f  a 16 dc0010  a 65536 "
        "dd00010000 "
        "x 255 c4ff  x 256 c50100  x 65536 c600010000 "
        "s 2 a26100  s 1 d90161  s 1 da000161  s 0 db00000000");
    while (cases >> type >> expected >> bytes) {
        ReadLog log(hex(bytes));
        MessageReader reader(log);
        ASSERT_TRUE(reader.next()) << bytes;
        EXPECT_TRUE(log.atEnd()) << bytes;
        EXPECT_EQ(static_cast<size_t>(reader.lastType()), types.find(type)) << bytes;
        const int64_t value = type == '-' || type == '+' ? reader.negValue()
                              : type == 'b'              ? reader.boolValue()
                              : type == 'f'              ? int64_t(reader.floatValue() == 1.5)
                              : type == 's'              ? int64_t(reader.stringValue().size())
                                                         : reader.lastLength();
        EXPECT_EQ(value, expected) << bytes;
        EXPECT_EQ(reader.negValue(), static_cast<int64_t>(reader.posValue()));

        // One byte short, it is no head at all, and the former type stays.
        Bytes truncated = hex("c3" + bytes);
        truncated.pop_back();
        ReadLog less(truncated);
        MessageReader second(less);
        EXPECT_TRUE(second.next());
        EXPECT_FALSE(second.next()) << bytes;
        EXPECT_EQ(second.lastType(), ObjectType::Bool) << bytes;
    }
    EXPECT_TRUE(cases.eof());
}

TEST(MessageReader, AsksForJustWhatIsDue)
{
    ReadLog log(hex("83 a0 a1 61 d9 01 62 cd 0100 a1 63 c4 02 0102"));
    MessageReader reader(log);
    ObjectValue value;
    reader.readObject(value);
    EXPECT_EQ(log.reads, (std::vector<uint64_t>{1, 1, 0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 1, 1, 2}));
}

TEST(MessageReader, TypedReadsNameWhatTheyExpected)
{
    std::string text;
    const std::tuple<Read, const char *, const char *> cases[] = {
        {[](auto &r) { EXPECT_EQ(r.readArrayHeader(), 1u); }, "91", "Expected array."},
        {[](auto &r) { EXPECT_EQ(r.readMapHeader(), 1u); }, "81", "Expected map."},
        {[](auto &r) { EXPECT_EQ(r.readBlobHeader(), 1u); }, "c4 01", "Expected blob."},
        {[](auto &r) { EXPECT_TRUE(r.readBool()); }, "c3", "Expected boolean."},
        {[](auto &r) { EXPECT_EQ(r.readPosInt(), 1u); }, "d0 01", "Expected pos integer."},
        {[](auto &r) { EXPECT_EQ(r.readNegInt(), -1); }, "ff", "Expected neg integer."},
        {[](auto &r) { EXPECT_EQ(r.readInt(), -1); }, "ff", "Expected integer."},
        {[&](auto &r) { r.readString(text); }, "a1 61", "Expected string."},
    };
    for (const auto &[read, good, complaint] : cases) {
        EXPECT_EQ(raisedOn(hex(good), read), "");
        EXPECT_EQ(raisedOn(hex("c0"), read), complaint);
        for (const char *refused : {"", "c1", "c7", "c8", "c9", "d4", "d5", "d6", "d7", "d8"})
            EXPECT_EQ(raisedOn(hex(refused), read), "Failed to read.") << refused;
    }
    EXPECT_EQ(text, "a");
    const auto readInt = [](MessageReader &reader) { reader.readInt(); };
    EXPECT_EQ(raisedOn(hex("cf 7fffffffffffffff"), readInt), "");
    EXPECT_EQ(raisedOn(hex("cf 8000000000000000"), readInt),
              "Integer value out of range, expected int64_t.");
}

TEST(MessageReader, ReadsABlobBodyWholeOrNotAtAll)
{
    char body[2] = {};
    const auto raised = [&](const char *bytes, uint32_t byteCount) {
        return raisedOn(hex(bytes), [&](MessageReader &reader) {
            reader.next();
            reader.readBlobBody(body, byteCount);
        });
    };
    EXPECT_EQ(raised("c0", 0), "Not a blob.");
    EXPECT_EQ(raised("c4 02 6162", 1), "Must read entire blob.");
    EXPECT_EQ(raised("c4 02 61", 2), "Failed to read.");
    EXPECT_EQ(raised("c4 02 6162", 2), "");
    EXPECT_EQ(std::string(body, 2), "ab");
}

TEST(MessageReader, FindsFieldsForward)
{
    // {"a": [1, {"x": blob}], "b": 2, "a": 3, 4: 5}
    const Bytes pairs = hex("a161 92 01 81 a178 c4021112  a162 02  a161 03  04 05");
    ReadLog log(pairs);
    MessageReader reader(log);
    uint32_t remaining = 4;
    reader.findField(remaining, "b");
    EXPECT_EQ(remaining, 2u);
    EXPECT_EQ(reader.readPosInt(), 2u);
    EXPECT_EQ(errorOf([&] { reader.findField(remaining, "b"); }), "Expected string.");

    ReadLog again(pairs);
    MessageReader second(again);
    remaining = 3;
    EXPECT_EQ(errorOf([&] { second.findField(remaining, "c"); }), "Map field not found.");
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(second.readPosInt(), 4u);
    EXPECT_EQ(errorOf([&] { second.findField(remaining, "c"); }), "Map field not found.");
}

TEST(MessageReader, MemoryEndsInEofOnlyWhenAReadBeginsThere)
{
    const std::pair<const char *, std::vector<const char *>> cases[] = {
        {"eof", {"", "cd", "a0", "c4 00", "82 a161 01"}},
        {"Failed to read.", {"cd 01", "a2 61", "92 c4 02 61"}}};
    for (const auto &[complaint, inputs] : cases) {
        for (const char *input : inputs) {
            for (const Read &read : {Read(readTree), Read([](auto &it) { it.skipValue(); })}) {
                Bytes bytes = hex(input);
                MemStream stream(bytes.data(), bytes.size());
                MessageReader reader(stream);
                EXPECT_EQ(errorOf([&] { read(reader); }), complaint) << input;
            }
        }
    }
    // What is read in pieces ends like one read, also when the data ends between two pieces.
    for (const uint8_t lead : {0xDB, 0xC6}) {
        Bytes bytes = Bytes{lead} + hex("00 20 00 00") + Bytes(1 << 20, 'x');
        MemStream stream(bytes.data(), bytes.size());
        MessageReader reader(stream);
        EXPECT_EQ(errorOf([&] { reader.skipValue(); }), "Failed to read.");
    }
}

TEST(MessageReader, DecodesATree)
{
    const Bytes shortest =
        hex("85 a0 c0  a161 94 ff 01 c2 c3  a162 c4021112  a163 cb3ff8000000000000"
            "  a164 81 a165 90");
    const ObjectValue value = decoded(shortest);
    EXPECT_EQ(value.capacity(), 5u);
    EXPECT_EQ(encoded(value), shortest);
    EXPECT_EQ(raisedOn(hex("81 01 02"), readTree), "Expected string.");

    // A key ends at its NUL, whatever its length; a string doesn't.
    for (const size_t length : {1u, 8u, 9u, 15u, 16u, 17u, 18u, 19u, 30u}) {
        for (size_t nul = 0; nul < length; ++nul) {
            std::string text(length, 'x');
            text[nul] = '\0';
            const Bytes once = encoded([&](auto &writer) { writer.writeString(text); });
            for (const size_t behind : {0u, 40u}) {
                Bytes memory = hex("81") + once + once + Bytes(behind, 0);
                MemStream stream(memory.data(), memory.size());
                MessageReader reader(stream);
                ObjectValue map;
                reader.readObject(map);
                const ObjectValue &first = map.mapAt(std::string(nul, 'x').c_str());
                EXPECT_EQ(std::string(first.asString(), first.size()), text);
                EXPECT_EQ(reader.stringValue(), text);
            }
        }
    }
}

TEST(MessageReader, LongTextAndManyEntriesGrowAsTheyArrive)
{
    const std::string text(3'000'000, 'x');
    ObjectValue array = ObjectValue::array();
    for (int i = 0; i < 5000; ++i)
        array.arrayAppend(ObjectValue::positive(i));
    array.arrayAppend(ObjectValue::string(text));
    const ObjectValue value = decoded(encoded(array));
    EXPECT_EQ(value.capacity(), 5001u);
    EXPECT_EQ(value.arrayAt(5000).asString(), text);
    EXPECT_EQ(value.arrayAt(4999).asPositive(), 4999u);
}

TEST(MessageReader, HostileAnnouncementsAndDepthCostLittle)
{
    // Each level announces 2^32 - 1 entries, in either kind of container.
    for (const Bytes &level : {hex("dd ffffffff"), hex("df ffffffff a0")}) {
        Bytes bytes;
        for (int i = 0; i < 20'000; ++i)
            bytes.insert(bytes.end(), level.begin(), level.end());
        EXPECT_EQ(raisedOn(bytes, readTree), "Failed to read.");
    }
    Bytes deep(200'000, 0x91);
    deep.push_back(0xC0);
    EXPECT_EQ(decoded(deep).size(), 1u);
    EXPECT_EQ(raisedOn(deep, [](auto &reader) { reader.skipValue(); }), "");
    deep.pop_back();
    EXPECT_EQ(raisedOn(deep, readTree), "Failed to read.");
}

} // namespace tavu::test
