#include "platform/files.h"

#include "support/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

namespace tavu {
namespace {

// Every test works below a folder whose name no single code page holds.
class FilesTest : public testing::Test
{
protected:
    FilesTest() { EXPECT_TRUE(createFolders(folder_)); }

    std::string path(const char *name) const { return joinPath(folder_, name); }

    void write(const std::string &file, const std::string &content) const
    {
        std::FILE *stream = openStdFile(file, "wb");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), stream), content.size());
        EXPECT_EQ(std::fclose(stream), 0);
    }

    static std::string read(const InputFile &file, uint64_t offset = 0, uint64_t byteCount = 20)
    {
        char buffer[20];
        return std::string(buffer, static_cast<size_t>(file.readAt(offset, buffer, byteCount)));
    }

    const test::TemporaryFolder root_;
    const std::string folder_ =
        joinPath(root_.path.string(), "\xe8\xae\xb0\xe5\xbd\x95 \xc3\xa9 \xf0\x9f\x8e\xa5");
};

TEST_F(FilesTest, AReplacedFileStaysForItsReaders)
{
    write(path("new"), "new content");
    write(path("record"), "old");
    const InputFile reader(path("record"));
    EXPECT_TRUE(replaceFile(path("new"), path("record")));
    EXPECT_EQ(read(reader), "old");
    EXPECT_EQ(read(InputFile(path("record"))), "new content");
    EXPECT_FALSE(isRegularFile(path("new")));
    EXPECT_FALSE(replaceFile(path("new"), path("record")));
    EXPECT_EQ(fileSize(path("record")), 11u);
}

TEST_F(FilesTest, FoldersAreNoFiles)
{
    EXPECT_TRUE(createFolders(joinPath(path("a"), "b")));
    EXPECT_TRUE(createFolders(path("a")));
    write(path("file"), "x");
    EXPECT_FALSE(createFolders(path("file")));
    EXPECT_FALSE(createFolders(joinPath(path("file"), "b")));
    EXPECT_FALSE(isRegularFile(path("a")));
    EXPECT_EQ(fileSize(path("a")), std::nullopt);
    EXPECT_EQ(read(InputFile(path("a"))), "");
    errno = 0;
    EXPECT_EQ(openStdFile(path("b/c"), "wb"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(deleteFile(joinPath(path("a"), "b")));
    EXPECT_TRUE(deleteFile(path("file")));
    EXPECT_FALSE(deleteFile(path("file")));
    EXPECT_EQ(openStdFile(path("none"), "rb"), nullptr);
}

TEST_F(FilesTest, ReadsAtAnyOffset)
{
    write(path("file"), "0123456789");
    InputFile file(path("file"));
    InputFile moved(std::move(file));
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): that is the question
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(read(moved, 8), "89");
    EXPECT_EQ(read(moved, 0, 3), "012");
    EXPECT_EQ(read(moved, 10), "");
    moved.close();
    EXPECT_EQ(read(moved), "");
}

TEST_F(FilesTest, AnOpenFolderLeadsToTheSameFiles)
{
    createFolders(path("a"));
    createFolders(path("ab"));
    write(path("a/in"), "in");
    write(path("ab/beside"), "beside");
    const OpenFolder folder(path("a")), missing(path("b"));
    for (const OpenFolder *way : {&folder, &missing}) {
        EXPECT_EQ(read(InputFile(path("a/in"), way)), "in");
        EXPECT_EQ(read(InputFile(path("a//in"), way)), "in");
        EXPECT_EQ(read(InputFile(path("ab/beside"), way)), "beside");
        EXPECT_EQ(read(InputFile(path("a/../ab/beside"), way)), "beside");
        EXPECT_TRUE(InputFile(path("a/beside"), way).wasMissing());
    }
}

} // namespace
} // namespace tavu
