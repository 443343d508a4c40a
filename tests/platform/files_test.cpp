#include "platform/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <utility>

namespace tavu {
namespace {

// Every test works below a folder whose name no single code page holds.
class FilesTest : public testing::Test
{
protected:
    FilesTest() { EXPECT_TRUE(createFolders(folder_)); }
    ~FilesTest() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(reinterpret_cast<const char8_t *>(root_.c_str()), ignored);
    }

    std::string path(const char *name) const { return joinPath(folder_, name); }

    void write(const std::string &file, const std::string &content) const
    {
        std::FILE *stream = openStdFile(file, "wb");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), stream), content.size());
        EXPECT_EQ(std::fclose(stream), 0);
    }

    static std::string read(const std::string &file)
    {
        char buffer[100];
        const InputFile input(file);
        return std::string(buffer, static_cast<size_t>(input.readAt(0, buffer, sizeof buffer)));
    }

    std::string root_ =
        joinPath(testing::TempDir(), "tavu_files_" + std::to_string(std::random_device()()));
    std::string folder_ = joinPath(root_, "\xe8\xae\xb0\xe5\xbd\x95 \xc3\xa9 \xf0\x9f\x8e\xa5");
};

TEST_F(FilesTest, replacesAnExistingFile)
{
    write(path("new"), "new content");
    write(path("record"), "old");
    EXPECT_TRUE(replaceFile(path("new"), path("record")));
    EXPECT_EQ(read(path("record")), "new content");
    EXPECT_FALSE(isRegularFile(path("new")));
    EXPECT_FALSE(replaceFile(path("new"), path("record")));
    EXPECT_EQ(fileSize(path("record")), 11u);
}

TEST_F(FilesTest, readersKeepAReplacedFile)
{
    write(path("new"), "new content");
    write(path("record"), "old");
    const InputFile reader(path("record"));
    EXPECT_TRUE(replaceFile(path("new"), path("record")));
    char buffer[4] = {};
    EXPECT_EQ(reader.readAt(0, buffer, 3), 3u);
    EXPECT_STREQ(buffer, "old");
    EXPECT_EQ(read(path("record")), "new content");
}

TEST_F(FilesTest, foldersAreNoFiles)
{
    EXPECT_TRUE(createFolders(path("a")));
    EXPECT_TRUE(createFolders(joinPath(path("a"), "b")));
    write(path("file"), "x");
    EXPECT_FALSE(createFolders(path("file")));
    EXPECT_FALSE(createFolders(joinPath(path("file"), "b")));
    EXPECT_FALSE(isRegularFile(path("a")));
    EXPECT_EQ(fileSize(path("a")), std::nullopt);
    char byte;
    EXPECT_EQ(InputFile(path("a")).readAt(0, &byte, 1), 0u);
    EXPECT_FALSE(deleteFile(joinPath(path("a"), "b")));
    EXPECT_TRUE(deleteFile(path("file")));
    EXPECT_FALSE(deleteFile(path("file")));
    EXPECT_EQ(openStdFile(path("none"), "rb"), nullptr);
}

TEST_F(FilesTest, readsAtAnyOffset)
{
    write(path("file"), "0123456789");
    InputFile file(path("file"));
    InputFile moved(std::move(file));
    EXPECT_FALSE(file.isOpen());
    char buffer[20] = {};
    EXPECT_EQ(moved.readAt(8, buffer, 20), 2u);
    EXPECT_STREQ(buffer, "89");
    EXPECT_EQ(moved.readAt(0, buffer, 3), 3u);
    EXPECT_STREQ(buffer, "012");
    EXPECT_EQ(moved.readAt(10, buffer, 1), 0u);
    moved.close();
    EXPECT_EQ(moved.readAt(0, buffer, 1), 0u);
}

} // namespace
} // namespace tavu
