#include "encoding/file_stream.h"

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
        EXPECT_EQ(stream.write("ab\xA0", 3), 3u);
        EXPECT_TRUE(stream.close());
        EXPECT_EQ(stream.write("d", 1), 0u);
        EXPECT_TRUE(stream.close());
    }
    FileStream stream(path, "rb");
    char text[8] = {};
    EXPECT_EQ(stream.read(text, 2), 2u);
    EXPECT_STREQ(text, "ab");
    // The empty text that ends the file is one, unlike in memory.
    MessageReader reader(stream);
    EXPECT_TRUE(reader.next());
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(stream.write("d", 1), 0u);
    EXPECT_FALSE(stream.close());
    EXPECT_EQ(errorOf([&] { FileStream(path + "/missing/file", "wb"); }),
              "Failed to open file: " + path + "/missing/file");
}

TEST(MemStream, ClipsAndRaisesAtItsEndEvenForNothing)
{
    Bytes bytes = "123?", target = "?????";
    MemStream source(bytes.data(), 3), sink(target.data(), 3), empty(nullptr, 0);
    EXPECT_EQ(source.read(target.data(), 0), 0u);
    EXPECT_EQ(source.read(target.data(), 5), 3u);
    EXPECT_EQ(target, "123??");
    EXPECT_EQ(sink.write("ab", 2), 2u);
    EXPECT_EQ(sink.write("cde", ~uint64_t(0)), 1u);
    EXPECT_EQ(target, "abc??");
    for (MemStream *ended : {&source, &sink, &empty}) {
        EXPECT_EQ(errorOf([&] { ended->read(target.data(), 0); }), "eof");
        EXPECT_EQ(errorOf([&] { ended->write(target.data(), 0); }), "eof");
    }
}

TEST(ReadAhead, HandsOutPiecesOfWhateverSize)
{
    for (const size_t bufferSize : {1u, 3u, 100u}) {
        Bytes left = "1234567", target = "????????";
        std::vector<uint8_t> buffer(bufferSize);
        int calls = 0;
        ReadAhead stream(
            [&](void *bytes, uint64_t byteCount) {
                ++calls;
                const size_t count =
                    left.copy(static_cast<char *>(bytes), std::min<uint64_t>(2, byteCount));
                left.erase(0, count);
                return count;
            },
            buffer);
        EXPECT_FALSE(stream.hasPending());
        EXPECT_EQ(stream.peek(), '1');
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(stream.read(target.data(), 1), 1u);
        EXPECT_EQ(stream.hasPending(), bufferSize > 1);
        EXPECT_EQ(stream.read(target.data() + 1, 3), 3u);
        EXPECT_FALSE(stream.ended());
        EXPECT_EQ(stream.read(target.data() + 4, 5), 3u);
        EXPECT_EQ(target, "1234567?");
        EXPECT_TRUE(stream.ended());
        const int callsToTheEnd = calls;
        EXPECT_EQ(stream.peek(), -1);
        EXPECT_EQ(calls, callsToTheEnd);
    }
}

} // namespace tavu::test
