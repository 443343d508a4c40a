#include "encoding/message_writer.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>
#include <limits>

namespace tavu::test {

namespace {

struct Case
{
    std::function<void(MessageWriter &)> write;
    const char *bytes;
};

void expectAll(const std::vector<Case> &cases)
{
    for (const Case &it : cases) {
        bool agree = false;
        EXPECT_EQ(encoded(it.write, &agree), hex(it.bytes)) << it.bytes;
        EXPECT_TRUE(agree) << it.bytes;
    }
}

} // namespace

TEST(MessageWriter, WritesTheShortestNumber)
{
    const struct
    {
        uint64_t value;
        const char *bytes;
    } positive[] = {{0, "00"},
                    {127, "7f"},
                    {128, "cc80"},
                    {255, "ccff"},
                    {256, "cd0100"},
                    {65535, "cdffff"},
                    {65536, "ce00010000"},
                    {4294967295, "ceffffffff"},
                    {4294967296, "cf0000000100000000"},
                    {~uint64_t(0), "cfffffffffffffffff"}};
    for (const auto &it : positive) {
        expectAll({{[&](MessageWriter &writer) { writer.writeUint(it.value); }, it.bytes}});
        if (it.value != ~uint64_t(0))
            expectAll(
                {{[&](MessageWriter &writer) { writer.writeInt(int64_t(it.value)); }, it.bytes}});
    }
    const struct
    {
        int64_t value;
        const char *bytes;
    } negative[] = {{-1, "ff"},
                    {-32, "e0"},
                    {-33, "d0df"},
                    {-128, "d080"},
                    {-129, "d1ff7f"},
                    {-32768, "d18000"},
                    {-32769, "d2ffff7fff"},
                    {-2147483648LL, "d280000000"},
                    {-2147483649LL, "d3ffffffff7fffffff"},
                    {std::numeric_limits<int64_t>::min(), "d38000000000000000"}};
    for (const auto &it : negative)
        expectAll({{[&](MessageWriter &writer) { writer.writeInt(it.value); }, it.bytes}});
    expectAll({{[](MessageWriter &writer) { writer.writeFloat(1.5f); }, "ca 3fc00000"},
               {[](MessageWriter &writer) { writer.writeDouble(-2); }, "cb c000000000000000"},
               {[](MessageWriter &writer) { writer.writeRaw("\1\0\2", 3); }, "010002"},
               {[](MessageWriter &writer) { writer.writeString("ab"); }, "a2 6162"},
               {[](MessageWriter &writer) { writer.writeString("a\0b", 3); }, "a3 610062"}});
}

TEST(MessageWriter, WritesTheShortestHeadAndTheBodyApart)
{
    enum Kind
    {
        String,
        Blob,
        Ext
    };
    const struct
    {
        Kind kind;
        size_t size;
        const char *head;
    } cases[] = {{String, 0, "a0"},
                 {String, 31, "bf"},
                 {String, 32, "d9 20"},
                 {String, 255, "d9 ff"},
                 {String, 256, "da 0100"},
                 {String, 65535, "da ffff"},
                 {String, 65536, "db 00010000"},
                 {Blob, 0, "c4 00"},
                 {Blob, 255, "c4 ff"},
                 {Blob, 256, "c5 0100"},
                 {Blob, 65535, "c5 ffff"},
                 {Blob, 65536, "c6 00010000"},
                 {Ext, 0, "c7 00 2a"},
                 {Ext, 1, "d4 2a"},
                 {Ext, 2, "d5 2a"},
                 {Ext, 3, "c7 03 2a"},
                 {Ext, 4, "d6 2a"},
                 {Ext, 8, "d7 2a"},
                 {Ext, 16, "d8 2a"},
                 {Ext, 17, "c7 11 2a"},
                 {Ext, 255, "c7 ff 2a"},
                 {Ext, 256, "c8 0100 2a"},
                 {Ext, 65535, "c8 ffff 2a"},
                 {Ext, 65536, "c9 00010000 2a"}};
    for (const auto &it : cases) {
        const std::string body(it.size, 'x');
        const auto write = [&](MessageWriter &writer) {
            if (it.kind == String)
                writer.writeString(body);
            else if (it.kind == Blob)
                writer.writeBlob(body.data(), static_cast<uint32_t>(body.size()));
            else
                writer.writeExt(42, body.data(), body.size());
        };
        WriteLog log;
        MessageWriter writer(log);
        write(writer);
        EXPECT_EQ(log.writes, (std::vector{hex(it.head), Bytes(it.size, 'x')})) << it.head;
        bool agree = false;
        encoded(write, &agree);
        EXPECT_TRUE(agree) << it.head;
    }
}

TEST(MessageWriter, WritesContainerHeadsWithOurDeviation)
{
    const struct
    {
        uint32_t count;
        const char *map, *array;
    } cases[] = {{0, "80", "90"},
                 {15, "8f", "9f"},
                 {16, "de 0010", "dc 0010"},
                 {65535, "de ffff", "dc ffff"},
                 {65536, "df 00010000", "dc 00010000"},
                 {0xFFFFFFFF, "df ffffffff", "dc ffffffff"}};
    for (const auto &it : cases)
        expectAll({
            {[&](MessageWriter &writer) { writer.writeMapHeader(it.count); }, it.map},
            {[&](MessageWriter &writer) { writer.writeArrayHeader(it.count); }, it.array},
        });

    ObjectValue array = ObjectValue::array();
    for (int i = 0; i < 65536; ++i)
        array.arrayAppend(ObjectValue());
    EXPECT_EQ(encoded([&](MessageWriter &writer) { writer.writeObject(array); }),
              hex("dc 00010000") + Bytes(65536, 0xC0));
}

TEST(MessageWriter, WritesATreeInStoredOrder)
{
    ObjectValue inner = ObjectValue::array();
    inner.arrayAppend(ObjectValue::negative(-1));
    inner.arrayAppend(ObjectValue::map());
    inner.arrayAppend(ObjectValue::number(1.5));
    ObjectValue map = ObjectValue::map();
    map.mapAppend("b", std::move(inner));
    map.mapAppend("a", ObjectValue::blob("\1\2", 2));
    map.mapAppend("a", ObjectValue::string("x\0y", 3));
    map.mapAppend("", ObjectValue::boolean(true));
    map.mapAppend("n", ObjectValue());
    map.mapAppend("f", ObjectValue::boolean(false));
    expectAll({{[&](MessageWriter &writer) { writer.writeObject(map); },
                "86 a162 93 ff 80 cb3ff8000000000000 a161 c4020102 a161 a3780079 a0 c3 a16e c0 "
                "a166 c2"}});
}

TEST(MessageWriter, CutsWhatMemoryHasNoRoomFor)
{
    Bytes memory(4, 0xEE);
    MemStream stream(memory.data(), 3);
    MessageWriter writer(stream);
    writer.writeUint(1);
    writer.writeString("abc");
    EXPECT_EQ(memory, hex("01 a3 61 ee"));
    EXPECT_EQ(raisedBy([&] { writer.writeNil(); }), "eof");
    MemStream justRoom(memory.data(), 1);
    EXPECT_EQ(raisedBy([&] { MessageWriter(justRoom).writeString(""); }), "eof");
}

} // namespace tavu::test
