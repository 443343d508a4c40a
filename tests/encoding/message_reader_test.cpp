#include "encoding/message_reader.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <tuple>

namespace tavu::test {

namespace {

using Read = std::function<void(MessageReader &)>;

/// What a read of these bytes raises, which is the same in place and through a stream.
std::string raisedOn(const Bytes &bytes, const Read &read)
{
    Reading inPlace(bytes, Way::InPlace), apart(bytes, Way::Apart);
    std::string raised = errorOf([&] { read(inPlace.reader); });
    EXPECT_EQ(errorOf([&] { read(apart.reader); }), raised);
    return raised;
}

void readTree(MessageReader &reader)
{
    ObjectValue value;
    reader.readObject(value);
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
        for (const auto &[way, behind] : {std::pair(Way::Apart, 1u),
                                          {Way::InPlace, 1u},
                                          {Way::InPlace, 40u},
                                          {Way::Ahead, 40u}}) {
            SCOPED_TRACE(bytes);
            Reading whole(fromHex(bytes) + Bytes(behind, '\xC1'), way);
            const MessageReader &reader = whole.reader;
            ASSERT_TRUE(whole.reader.next());
            EXPECT_EQ(whole.left(), behind);
            EXPECT_EQ(static_cast<size_t>(reader.lastType()), types.find(type));
            const int64_t value = type == '-' || type == '+' ? reader.negValue()
                                  : type == 'b'              ? reader.boolValue()
                                  : type == 'f'              ? int64_t(reader.floatValue() == 1.5)
                                  : type == 's'              ? int64_t(reader.stringValue().size())
                                                             : reader.lastLength();
            EXPECT_EQ(value, expected);
            EXPECT_EQ(reader.negValue(), static_cast<int64_t>(reader.posValue()));

            // One byte short, it is no head at all, and the former type stays.
            Reading cut(fromHex("c3" + bytes.substr(0, bytes.size() - 2)), way);
            EXPECT_TRUE(cut.reader.next());
            bool found = false;
            errorOf([&] { found = cut.reader.next(); });
            EXPECT_FALSE(found);
            EXPECT_EQ(cut.reader.lastType(), ObjectType::Bool);
        }
    }
    EXPECT_TRUE(cases.eof());
}

TEST(MessageReader, AsksForJustWhatIsDue)
{
    Reading it(fromHex("83 a0 a1 61 d9 01 62 cd 0100 a1 63 c4 02 0102"), Way::Apart);
    readTree(it.reader);
    EXPECT_EQ(it.reads, (std::vector<uint64_t>{1, 1, 0, 1, 1, 1, 1, 1, 1, 2, 1, 1, 1, 1, 2}));
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
        {[&](auto &r) { r.readString(text); }, "a1 61", "Expected string."}};
    for (const auto &[read, good, complaint] : cases) {
        EXPECT_EQ(raisedOn(fromHex(good), read), "");
        EXPECT_EQ(raisedOn(fromHex("c0"), read), complaint);
        for (const char *refused : {"c1", "c7", "c8", "c9", "d4", "d5", "d6", "d7", "d8"})
            EXPECT_EQ(raisedOn(fromHex(refused), read), "Failed to read.") << refused;
    }
    EXPECT_EQ(text, "a");
    const auto readInt = [](MessageReader &reader) { reader.readInt(); };
    EXPECT_EQ(raisedOn(fromHex("cf 7fffffffffffffff"), readInt), "");
    EXPECT_EQ(raisedOn(fromHex("cf 8000000000000000"), readInt),
              "Integer value out of range, expected int64_t.");
}

TEST(MessageReader, ReadsABlobBodyWholeOrNotAtAll)
{
    char body[3] = {};
    const std::tuple<const char *, uint32_t, const char *> cases[] = {
        {"c0", 0, "Not a blob."},
        {"c4 02 6162", 1, "Must read entire blob."},
        {"c4 02 61", 2, "Failed to read."},
        {"c4 02 6162", 2, ""}};
    for (const auto &[bytes, byteCount, complaint] : cases) {
        const Read read = [&, count = byteCount](MessageReader &reader) {
            reader.next();
            reader.readBlobBody(body, count);
        };
        EXPECT_EQ(raisedOn(fromHex(bytes), read), complaint);
    }
    EXPECT_STREQ(body, "ab");
}

TEST(MessageReader, FindsFieldsForward)
{
    // {"a": [1, {"x": blob}], "b": 2, "a": 3, 4: 5}, and what is left after each search
    const Bytes pairs = fromHex("a161 92 01 81 a178 c4021112  a162 02  a161 03  04 05");
    const std::tuple<uint32_t, const char *, const char *, uint32_t, uint64_t> cases[] = {
        {4, "b", "", 2, 2},
        {4, "c", "Expected string.", 1, 5},
        {3, "c", "Map field not found.", 0, 4},
        {0, "a", "Map field not found.", 0, 0}};
    for (const auto &[count, name, complaint, left, next] : cases) {
        Reading it(next == 0 ? fromHex("00") : pairs, Way::Apart);
        uint32_t remaining = count;
        EXPECT_EQ(errorOf([&, n = name] { it.reader.findField(remaining, n); }), complaint);
        EXPECT_EQ(remaining, left);
        EXPECT_EQ(it.reader.readPosInt(), next);
    }
}

TEST(MessageReader, MemoryEndsInEofOnlyWhenAReadBeginsThere)
{
    // What is read in pieces ends like one read, also when the data ends between two pieces.
    const Bytes pieces = fromHex("00 20 00 00") + Bytes(1 << 20, 'x');
    const std::pair<const char *, std::vector<Bytes>> cases[] = {
        {"eof", {"", "\xCD", "\xA0", fromHex("c4 00"), fromHex("82 a161 01")}},
        {"Failed to read.",
         {fromHex("cd 01"), fromHex("a2 61"), fromHex("92 c4 02 61"), '\xDB' + pieces,
          '\xC6' + pieces}}};
    for (const auto &[complaint, inputs] : cases) {
        for (Bytes input : inputs) {
            for (const bool skips : {false, true}) {
                MemStream stream(input.data(), input.size());
                MessageReader reader(stream);
                EXPECT_EQ(errorOf([&] { skips ? reader.skipValue() : readTree(reader); }),
                          complaint)
                    << testing::PrintToString(input.substr(0, 9));
            }
        }
    }
}

TEST(MessageReader, GivesBackWhatWasWritten)
{
    // Many entries and long text grow as they arrive; there is no room too much in the end.
    ObjectValue big = ObjectValue::array();
    for (int i = 0; i < 5000; ++i)
        big.arrayAppend(ObjectValue::positive(i));
    big.arrayAppend(ObjectValue::string(std::string(3'000'000, 'x')));
    const Bytes shortest = fromHex("87 a0 c0  a161 94 ff 01 c2 c3  a162 c4021112  a161 a3780079 "
                                   " a163 cb3ff8000000000000  a164 81 a165 90  a166 80");
    for (const auto &[bytes, capacity] : {std::pair(shortest, 7u), {encoded(big), 5001u}}) {
        for (const Way way : {Way::InPlace, Way::Ahead, Way::Apart}) {
            Reading it(bytes, way);
            ObjectValue value;
            it.reader.readObject(value);
            EXPECT_EQ(it.left(), 0u);
            EXPECT_EQ(value.capacity(), capacity);
            EXPECT_EQ(encoded(value), bytes);
        }
    }
    EXPECT_EQ(raisedOn(fromHex("81 01 02"), readTree), "Expected string.");
}

TEST(MessageReader, AKeyEndsAtItsNulAndAStringDoesnt)
{
    for (const size_t length : {1u, 8u, 9u, 15u, 16u, 17u, 18u, 19u, 30u}) {
        for (size_t nul = 0; nul < length; ++nul) {
            Bytes text(length, 'x');
            text[nul] = '\0';
            const Bytes once = encoded([&](auto &writer) { writer.writeString(text); });
            for (const size_t behind : {0u, 40u}) {
                Reading it(concat('\x81', once, once, Bytes(behind, '\0')), Way::InPlace);
                ObjectValue map;
                it.reader.readObject(map);
                const ObjectValue &first = map.mapAt(std::string(nul, 'x').c_str());
                EXPECT_EQ(std::string(first.asString(), first.size()), text);
                EXPECT_EQ(it.reader.stringValue(), text);
            }
        }
    }
}

} // namespace tavu::test
