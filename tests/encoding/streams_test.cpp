#include "encoding/file_stream.h"
#include "encoding/mem_stream.h"

#include "encoding/message_reader.h"
#include "encoding/read_ahead.h"
#include "encoding/test_streams.h"
#include "support/files.h"

#include <gtest/gtest.h>

namespace tavu::test {

TEST(FileStream, KeepsWhatWasWrittenAndEndsWithAShortCount)
{
    const TemporaryFolder folder;
    const std::string path = (folder.path / "file").string();
    {
        FileStream stream(path, "wb");
        EXPECT_EQ(stream.write("abc", 3), 3u);
        EXPECT_TRUE(stream.close());
        EXPECT_EQ(stream.write("d", 1), 0u);
        EXPECT_TRUE(stream.close());
    }
    FileStream stream(path, "rb");
    char text[8] = {};
    EXPECT_EQ(stream.read(text, 2), 2u);
    EXPECT_EQ(stream.read(text + 2, 5), 1u);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(stream.read(text, 1), 0u);
    EXPECT_EQ(stream.write("d", 1), 0u);
    EXPECT_FALSE(stream.close());
    EXPECT_EQ(errorOf([&] { FileStream(path + "/missing/file", "wb"); }),
              "Failed to open file: " + path + "/missing/file");
}

TEST(FileStream, EmptyTextAtTheEndReadsWhereMemoryRaises)
{
    const TemporaryFolder folder;
    writeFile(folder.path / "file", "\xA0");
    FileStream stream((folder.path / "file").string(), "rb");
    MessageReader reader(stream);
    EXPECT_TRUE(reader.next());
    EXPECT_EQ(errorOf([&] { reader.readBool(); }), "Failed to read.");
    char byte = '\xA0';
    MemStream memory(&byte, 1);
    EXPECT_EQ(errorOf([&] { MessageReader(memory).next(); }), "eof");
}

TEST(MemStream, RaisesAtItsEndEvenForNothing)
{
    Bytes bytes = hex("01 02 03"), target(5, 0xEE);
    MemStream stream(bytes.data(), 3);
    EXPECT_EQ(stream.read(target.data(), 0), 0u);
    EXPECT_EQ(stream.read(target.data(), 5), 3u);
    EXPECT_EQ(target, hex("01 02 03 ee ee"));
    MemStream empty(nullptr, 0);
    for (MemStream *ended : {&stream, &empty}) {
        EXPECT_EQ(errorOf([&] { ended->read(target.data(), 0); }), "eof");
        EXPECT_EQ(errorOf([&] { ended->write(target.data(), 0); }), "eof");
    }
}

TEST(MemStream, ClipsAWriteAndNeverGrows)
{
    Bytes bytes(4, 0xEE);
    MemStream stream(bytes.data(), 3);
    EXPECT_EQ(stream.write("ab", 2), 2u);
    EXPECT_EQ(stream.write("cde", ~uint64_t(0)), 1u);
    EXPECT_EQ(bytes, hex("61 62 63 ee"));
    EXPECT_EQ(errorOf([&] { stream.write("f", 1); }), "eof");
}

TEST(ReadAhead, HandsOutPiecesOfWhateverSize)
{
    for (const size_t bufferSize : {1u, 3u, 100u}) {
        Bytes left = hex("01 02 03 04 05 06 07"), target(8, 0xEE), buffer(bufferSize);
        int calls = 0;
        ReadAhead stream(
            [&](void *bytes, uint64_t byteCount) {
                ++calls;
                const size_t count = std::min<size_t>({2, byteCount, left.size()});
                std::copy_n(left.begin(), count, static_cast<uint8_t *>(bytes));
                left.erase(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(count));
                return count;
            },
            buffer);
        EXPECT_FALSE(stream.hasPending());
        EXPECT_EQ(stream.peek(), 1);
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(stream.read(target.data(), 1), 1u);
        EXPECT_EQ(stream.hasPending(), bufferSize > 1);
        EXPECT_EQ(stream.read(target.data() + 1, 3), 3u);
        EXPECT_FALSE(stream.ended());
        EXPECT_EQ(stream.read(target.data() + 4, 5), 3u);
        EXPECT_EQ(target, hex("01 02 03 04 05 06 07 ee"));
        EXPECT_TRUE(stream.ended());
        const int callsToTheEnd = calls;
        EXPECT_EQ(stream.peek(), -1);
        EXPECT_EQ(calls, callsToTheEnd);
    }
}

TEST(MemorySink, GivesItsBytesAwayOrForgetsThem)
{
    MemorySink sink;
    EXPECT_EQ(sink.write("ab", 2), 2u);
    sink.write("c", 1);
    EXPECT_EQ(sink.take(), hex("61 62 63"));
    sink.write("d", 1);
    EXPECT_EQ(sink.bytes(), hex("64"));
    sink.clear();
    EXPECT_TRUE(sink.take().empty());
}

} // namespace tavu::test
