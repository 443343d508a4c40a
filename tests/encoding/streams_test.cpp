#include "encoding/file_stream.h"

#include "encoding/read_ahead.h"
#include "encoding/test_streams.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(WriteBehind, CollectsAMessageAndSendsALongOneInPieces)
{
    struct Target final : Stream
    {
        uint64_t read(void *, uint64_t) override { return 0; }
        uint64_t write(const void *buffer, uint64_t byteCount) override
        {
            writes.emplace_back(static_cast<const char *>(buffer), byteCount);
            return writes.size() < 6 ? byteCount : byteCount - 1;
        }
        std::vector<Bytes> writes;
    } target;
    WriteBehind stream(target);
    const auto send = [&](size_t pieceSize, size_t pieces, char byte) {
        target.writes.clear();
        for (size_t i = 0; i < pieces; ++i)
            EXPECT_EQ(stream.write(Bytes(pieceSize, byte).data(), pieceSize), pieceSize);
    };
    EXPECT_TRUE(stream.flush());
    EXPECT_TRUE(target.writes.empty());
    for (const size_t pieces : {3u, 65'536u}) {
        send(1, pieces, 'a');
        EXPECT_TRUE(target.writes.empty());
        EXPECT_TRUE(stream.flush());
        EXPECT_EQ(target.writes, std::vector{Bytes(pieces, 'a')});
    }
    send(1, 65'537, 'b');
    send(70'000, 1, 'c');
    EXPECT_EQ(target.writes, (std::vector{Bytes(1, 'b'), Bytes(70'000, 'c')}));
    EXPECT_TRUE(stream.flush());
    // Nothing goes on behind a piece that the target didn't take whole.
    send(70'000, 6, 'd');
    EXPECT_EQ(target.writes.size(), 6u);
    EXPECT_FALSE(stream.flush());
    send(1, 1, 'e');
    EXPECT_FALSE(stream.flush());
    EXPECT_TRUE(target.writes.empty());
}

} // namespace tavu::test
