#include "encoding/message_reader.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <limits>

namespace tavu::test {

namespace {

using Read = std::function<void(MessageReader &)>;

/// What a read raises on these bytes, from a stream like a file and from memory with bytes behind.
std::string raisedOn(const Bytes &bytes, const Read &read)
{
    ReadLog log(bytes);
    const std::string text = raisedBy([&] {
        MessageReader reader(log);
        read(reader);
    });
    if (text != "Failed to read.") {
        Bytes memory = bytes + Bytes(40, 0xC1);
        MemStream stream(memory.data(), memory.size());
        EXPECT_EQ(raisedBy([&] {
                      MessageReader reader(stream);
                      read(reader);
                  }),
                  text);
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
    constexpr auto kNegative = ObjectType::NegativeInteger;
    constexpr auto kPositive = ObjectType::PositiveInteger;
    const struct
    {
        const char *bytes;
        ObjectType type;
        int64_t value; ///< or length
    } cases[] = {{"00", kPositive, 0},
                 {"7f", kPositive, 127},
                 {"e0", kNegative, -32},
                 {"ff", kNegative, -1},
                 {"cc ff", kPositive, 255},
                 {"cd ffff", kPositive, 65535},
                 {"ce ffffffff", kPositive, 4294967295},
                 {"cf ffffffffffffffff", kPositive, -1},
                 {"d0 05", kPositive, 5},
                 {"d0 fb", kNegative, -5},
                 {"d1 8000", kNegative, -32768},
                 {"d1 7fff", kPositive, 32767},
                 {"d2 80000000", kNegative, -2147483648LL},
                 {"d2 00000000", kPositive, 0},
                 {"d3 8000000000000000", kNegative, std::numeric_limits<int64_t>::min()},
                 {"c0", ObjectType::Nil, 0},
                 {"c2", ObjectType::Bool, 0},
                 {"c3", ObjectType::Bool, 1},
                 {"ca 3fc00000", ObjectType::Float, 1},
                 {"cb 3ff8000000000000", ObjectType::Float, 1},
                 {"8f", ObjectType::Map, 15},
                 {"de ffff", ObjectType::Map, 65535},
                 {"df ffffffff", ObjectType::Map, 4294967295},
                 {"9f", ObjectType::Array, 15},
                 {"dc 0010", ObjectType::Array, 16},
                 {"dd 00010000", ObjectType::Array, 65536},
                 {"c4 ff", ObjectType::Blob, 255},
                 {"c5 0100", ObjectType::Blob, 256},
                 {"c6 00010000", ObjectType::Blob, 65536},
                 {"a2 6100", ObjectType::String, 2},
                 {"d9 01 61", ObjectType::String, 1},
                 {"da 0001 61", ObjectType::String, 1},
                 {"db 00000000", ObjectType::String, 0}};
    for (const auto &it : cases) {
        ReadLog log(hex(it.bytes));
        MessageReader reader(log);
        ASSERT_TRUE(reader.next()) << it.bytes;
        EXPECT_TRUE(log.atEnd()) << it.bytes;
        EXPECT_EQ(reader.lastType(), it.type) << it.bytes;
        const int64_t value = it.type == kNegative   ? reader.negValue()
                              : it.type == kPositive ? static_cast<int64_t>(reader.posValue())
                              : it.type == ObjectType::Bool   ? reader.boolValue()
                              : it.type == ObjectType::Float  ? int64_t(reader.floatValue() == 1.5)
                              : it.type == ObjectType::String ? int64_t(reader.stringValue().size())
                                                              : reader.lastLength();
        EXPECT_EQ(value, it.value) << it.bytes;
        EXPECT_EQ(reader.negValue(), static_cast<int64_t>(reader.posValue()));

        // One byte short, it is no head at all, and the former type stays.
        Bytes truncated = hex(it.bytes);
        truncated.pop_back();
        ReadLog less(hex("c3") + truncated);
        MessageReader second(less);
        EXPECT_TRUE(second.next());
        EXPECT_FALSE(second.next() && it.bytes[2]) << it.bytes;
        EXPECT_EQ(second.lastType(), ObjectType::Bool) << it.bytes;
    }
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
    const struct
    {
        Read read;
        const char *good, *complaint;
    } cases[] = {
        {[](auto &r) { EXPECT_EQ(r.readArrayHeader(), 1u); }, "91", "Expected array."},
        {[](auto &r) { EXPECT_EQ(r.readMapHeader(), 1u); }, "81", "Expected map."},
        {[](auto &r) { EXPECT_EQ(r.readBlobHeader(), 1u); }, "c4 01", "Expected blob."},
        {[](auto &r) { EXPECT_TRUE(r.readBool()); }, "c3", "Expected boolean."},
        {[](auto &r) { EXPECT_EQ(r.readPosInt(), 1u); }, "d0 01", "Expected pos integer."},
        {[](auto &r) { EXPECT_EQ(r.readNegInt(), -1); }, "ff", "Expected neg integer."},
        {[](auto &r) { EXPECT_EQ(r.readInt(), -1); }, "ff", "Expected integer."},
        {[&](auto &r) { r.readString(text); }, "a1 61", "Expected string."},
    };
    for (const auto &it : cases) {
        EXPECT_EQ(raisedOn(hex(it.good), it.read), "");
        EXPECT_EQ(raisedOn(hex("c0"), it.read), it.complaint);
        for (const char *refused : {"", "c1", "c7", "c8", "c9", "d4", "d5", "d6", "d7", "d8"})
            EXPECT_EQ(raisedOn(hex(refused), it.read), "Failed to read.") << refused;
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
    const auto readBody = [&](uint32_t byteCount) {
        return [&body, byteCount](MessageReader &reader) {
            reader.next();
            reader.readBlobBody(body, byteCount);
        };
    };
    EXPECT_EQ(raisedOn(hex("c0"), readBody(0)), "Not a blob.");
    EXPECT_EQ(raisedOn(hex("c4 02 6162"), readBody(1)), "Must read entire blob.");
    EXPECT_EQ(raisedOn(hex("c4 02 61"), readBody(2)), "Failed to read.");
    EXPECT_EQ(raisedOn(hex("c4 02 6162"), readBody(2)), "");
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
    EXPECT_EQ(raisedBy([&] { reader.findField(remaining, "b"); }), "Expected string.");

    ReadLog again(pairs);
    MessageReader second(again);
    remaining = 3;
    EXPECT_EQ(raisedBy([&] { second.findField(remaining, "c"); }), "Map field not found.");
    EXPECT_EQ(remaining, 0u);
    EXPECT_EQ(second.readPosInt(), 4u);
    EXPECT_EQ(raisedBy([&] { second.findField(remaining, "c"); }), "Map field not found.");
}

TEST(MessageReader, MemoryEndsInEofOnlyWhenAReadBeginsThere)
{
    const struct
    {
        const char *bytes, *complaint;
    } cases[] = {
        {"", "eof"},           {"cd 01", "Failed to read."},
        {"cd", "eof"},         {"a2 61", "Failed to read."},
        {"a0", "eof"},         {"c4 00", "eof"},
        {"82 a161 01", "eof"}, {"92 c4 02 61", "Failed to read."},
    };
    for (const auto &it : cases) {
        Bytes bytes = hex(it.bytes);
        for (const Read &read : {Read(readTree), Read([](auto &reader) { reader.skipValue(); })}) {
            MemStream stream(bytes.data(), bytes.size());
            MessageReader reader(stream);
            EXPECT_EQ(raisedBy([&] { read(reader); }), it.complaint) << it.bytes;
        }
    }
    // What is read in pieces ends like one read, also when the data ends between two pieces.
    for (const uint8_t lead : {0xDB, 0xC6}) {
        Bytes bytes = Bytes{lead} + hex("00 20 00 00") + Bytes(1 << 20, 'x');
        MemStream stream(bytes.data(), bytes.size());
        MessageReader reader(stream);
        EXPECT_EQ(raisedBy([&] { reader.skipValue(); }), "Failed to read.");
    }
}

TEST(MessageReader, DecodesATree)
{
    const Bytes shortest =
        hex("85 a0 c0  a161 94 ff 01 c2 c3  a162 c4021112  a163 cb3ff8000000000000"
            "  a164 81 a165 90");
    const ObjectValue value = decoded(shortest);
    EXPECT_EQ(value.capacity(), 5u);
    EXPECT_EQ(encoded([&](MessageWriter &writer) { writer.writeObject(value); }), shortest);
    EXPECT_EQ(raisedOn(hex("81 01 02"), readTree), "Expected string.");

    // A key ends at its NUL, whatever its length; a string doesn't.
    for (const size_t length : {1u, 8u, 9u, 15u, 16u, 17u, 18u, 19u, 30u}) {
        for (size_t nul = 0; nul < length; ++nul) {
            std::string text(length, 'x');
            text[nul] = '\0';
            const Bytes bytes = encoded([&](MessageWriter &writer) {
                writer.writeMapHeader(1);
                writer.writeString(text);
                writer.writeString(text);
            });
            for (const size_t behind : {0u, 40u}) {
                Bytes memory = bytes + Bytes(behind, 0);
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
    const auto write = [&](MessageWriter &writer) { writer.writeObject(array); };
    const ObjectValue value = decoded(encoded(write));
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
