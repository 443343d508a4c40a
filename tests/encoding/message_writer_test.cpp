#include "encoding/message_writer.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>

namespace tavu::test {

using Write = std::function<void(MessageWriter &)>;

/// Keeps each write apart.
struct WriteLog final : Stream
{
    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        writes.emplace_back(static_cast<const char *>(buffer), byteCount);
        return byteCount;
    }

    std::vector<Bytes> writes;
};

TEST(MessageWriter, WritesTheShortestNumber)
{
    std::string number, bytes;
    std::istringstream cases(
        "0 00  127 7f  128 cc80  255 ccff  256 cd0100  65535 cdffff  65536 ce00010000 "
        "4294967295 ceffffffff  4294967296 cf0000000100000000 "
        "9223372036854775807 cf7fffffffffffffff  18446744073709551615 cfffffffffffffffff "
        "-1 ff  -32 e0  -33 d0df  -128 d080  -129 d1ff7f  -32768 d18000  -32769 d2ffff7fff "
        "-2147483648 d280000000  -2147483649 d3ffffffff7fffffff "
        "-9223372036854775808 d38000000000000000");
    while (cases >> number >> bytes) {
        const uint64_t value = std::stoull(number); // of a negative one, its two's complement
        const bool isNegative = number[0] == '-';
        const auto asUint = [&](auto &writer) { writer.writeUint(value); };
        const auto asInt = [&](auto &writer) { writer.writeInt(int64_t(value)); };
        EXPECT_TRUE(isNegative || encoded(asUint) == fromHex(bytes)) << number;
        EXPECT_TRUE(isNegative != (value > INT64_MAX) || encoded(asInt) == fromHex(bytes))
            << number;
    }
    EXPECT_TRUE(cases.eof());

    const std::pair<Write, const char *> others[] = {
        {[](auto &writer) { writer.writeFloat(1.5f); }, "ca 3fc00000"},
        {[](auto &writer) { writer.writeDouble(-2); }, "cb c000000000000000"},
        {[](auto &writer) { writer.writeRaw("\1\0\2", 3); }, "010002"},
        {[](auto &writer) { writer.writeString("ab"); }, "a2 6162"},
        {[](auto &writer) { writer.writeString("a\0b", 3); }, "a3 610062"}};
    for (const auto &[write, expected] : others)
        EXPECT_EQ(encoded(write), fromHex(expected));
}

TEST(MessageWriter, WritesTheShortestHeadAndTheBodyApart)
{
    char kind = 0;
    uint32_t size = 0;
    std::string head;
    // A string's, a blob's or an ext's size, and its head.
    std::istringstream cases(
        "s 0 a0  s 31 bf  s 32 d920  s 255 d9ff  s 256 da0100  s 65535 daffff  s 65536 db00010000 "
        "b 0 c400  b 255 c4ff  b 256 c50100  b 65535 c5ffff  b 65536 c600010000 "
        "e 0 c7002a  e 1 d42a  e 2 d52a  e 3 c7032a  e 4 d62a  e 8 d72a  e 16 d82a  e 17 c7112a "
        "e 255 c7ff2a  e 256 c801002a  e 65535 c8ffff2a  e 65536 c9000100002a");
    while (cases >> kind >> size >> head) {
        const std::string body(size, 'x');
        const Write write = [&](MessageWriter &writer) {
            if (kind == 's')
                writer.writeString(body);
            else if (kind == 'b')
                writer.writeBlob(body.data(), size);
            else
                writer.writeExt(42, body.data(), size);
        };
        WriteLog log;
        MessageWriter writer(log);
        write(writer);
        EXPECT_EQ(log.writes, (std::vector{fromHex(head), body})) << head;
        EXPECT_EQ(encoded(write).size(), fromHex(head).size() + size);
    }
    EXPECT_TRUE(cases.eof());
}

TEST(MessageWriter, WritesContainerHeadsWithOurDeviation)
{
    uint32_t count = 0;
    std::string map, array;
    std::istringstream cases("0 80 90  15 8f 9f  16 de0010 dc0010  65535 deffff dcffff "
                             "65536 df00010000 dc00010000  4294967295 dfffffffff dcffffffff");
    while (cases >> count >> map >> array) {
        EXPECT_EQ(encoded([&](auto &writer) { writer.writeMapHeader(count); }), fromHex(map));
        EXPECT_EQ(encoded([&](auto &writer) { writer.writeArrayHeader(count); }), fromHex(array));
    }
    EXPECT_TRUE(cases.eof());

    ObjectValue nils = ObjectValue::array();
    for (int i = 0; i < 65536; ++i)
        nils.arrayAppend(ObjectValue());
    EXPECT_EQ(encoded(nils), fromHex("dc 00010000") + Bytes(65536, '\xC0'));
}

TEST(MessageWriter, CutsWhatMemoryHasNoRoomFor)
{
    Bytes memory = "????";
    MemStream stream(memory.data(), 3);
    MessageWriter writer(stream);
    writer.writeUint(1);
    writer.writeString("abc");
    EXPECT_EQ(memory, "\x01\xA3"
                      "a?");
    EXPECT_EQ(errorOf([&] { writer.writeNil(); }), "eof");
    MemStream justRoom(memory.data(), 1);
    EXPECT_EQ(errorOf([&] { MessageWriter(justRoom).writeString(""); }), "eof");
}

} // namespace tavu::test
