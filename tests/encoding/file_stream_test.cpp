#include "encoding/file_stream.h"

#include "encoding/message_reader.h"
#include "encoding/test_streams.h"
#include "platform/files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>

namespace tavu::test {

namespace {

class FileStreamTest : public testing::Test
{
protected:
    FileStreamTest()
    {
        const std::string name = "tavu_file_stream_" + std::to_string(std::random_device{}());
        const auto path = (std::filesystem::temp_directory_path() / name).u8string();
        path_.assign(path.begin(), path.end());
    }
    ~FileStreamTest() override { deleteFile(path_); }

    std::string path_;
};

TEST_F(FileStreamTest, KeepsWhatWasWrittenAndEndsWithAShortCount)
{
    {
        FileStream stream(path_, "wb");
        EXPECT_EQ(stream.write("abc", 3), 3u);
        EXPECT_TRUE(stream.close());
        EXPECT_EQ(stream.write("d", 1), 0u);
        EXPECT_TRUE(stream.close());
    }
    FileStream stream(path_, "rb");
    char text[8] = {};
    EXPECT_EQ(stream.read(text, 2), 2u);
    EXPECT_EQ(stream.read(text + 2, 5), 1u);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(stream.read(text, 1), 0u);
    EXPECT_EQ(stream.write("d", 1), 0u);
    EXPECT_FALSE(stream.close());
}

TEST_F(FileStreamTest, EmptyTextAtTheEndReadsWhereMemoryRaises)
{
    Bytes bytes = hex("a0");
    FileStream(path_, "wb").write(bytes.data(), bytes.size());
    FileStream stream(path_, "rb");
    MessageReader reader(stream);
    EXPECT_TRUE(reader.next());
    EXPECT_EQ(raisedBy([&] { reader.readBool(); }), "Failed to read.");
    MemStream memory(bytes.data(), bytes.size());
    EXPECT_EQ(raisedBy([&] { MessageReader(memory).next(); }), "eof");
}

TEST_F(FileStreamTest, NamesThePathThatDoesNotOpen)
{
    const std::string path = path_ + "/missing/file";
    EXPECT_EQ(raisedBy([&] { FileStream(path, "wb"); }), "Failed to open file: " + path);
}

} // namespace

} // namespace tavu::test
