#include "encoding/mem_stream.h"

#include "encoding/test_streams.h"

#include <gtest/gtest.h>

namespace tavu::test {

TEST(MemStream, ReadsToItsEndAndThenRaisesEvenForNothing)
{
    Bytes bytes = hex("01 02 03");
    MemStream stream(bytes.data(), bytes.size());
    Bytes target(10, 0xEE);
    EXPECT_EQ(stream.read(target.data(), 0), 0u);
    EXPECT_EQ(stream.read(target.data(), 10), 3u);
    EXPECT_EQ(target, hex("01 02 03 ee ee ee ee ee ee ee"));
    EXPECT_EQ(raisedBy([&] { stream.read(target.data(), 0); }), "eof");
    EXPECT_EQ(raisedBy([&] { stream.write(target.data(), 0); }), "eof");
}

TEST(MemStream, ClipsAWriteAndNeverGrows)
{
    Bytes bytes(4, 0xEE);
    MemStream stream(bytes.data(), 3);
    EXPECT_EQ(stream.write("ab", 2), 2u);
    EXPECT_EQ(stream.write("cde", ~uint64_t(0)), 1u);
    EXPECT_EQ(bytes, hex("61 62 63 ee"));
    EXPECT_EQ(raisedBy([&] { stream.write("f", 1); }), "eof");

    MemStream empty(nullptr, 0);
    EXPECT_EQ(raisedBy([&] { empty.read(nullptr, 0); }), "eof");
}

} // namespace tavu::test
