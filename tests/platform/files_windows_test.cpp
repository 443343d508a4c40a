#include "platform/command_line_windows.h"
#include "platform/files.h"
#include "platform/wide_text_windows.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <shellapi.h>
#include <string>
#include <thread>
#include <vector>

namespace tavu {
namespace {

class BusyFileTest : public testing::Test
{
protected:
    BusyFileTest()
    {
        test::writeFile(fresh_, "new content");
        test::writeFile(record_, "old");
    }

    /// A reader that lets nobody rename or delete the file.
    HANDLE openJealously() const
    {
        return CreateFileW(wideText(record_).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                           OPEN_EXISTING, 0, nullptr);
    }

    const test::TemporaryFolder folder_;
    const std::string record_ = (folder_.path / "record").string(), fresh_ = record_ + ".new";
};

TEST_F(BusyFileTest, ReplacementWaitsForAReaderToGo)
{
    const HANDLE reader = openJealously();
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    std::thread leaving([reader] {
        Sleep(100);
        CloseHandle(reader);
    });
    EXPECT_TRUE(replaceFile(fresh_, record_));
    leaving.join();
    EXPECT_EQ(fileSize(record_), 11u);
    EXPECT_EQ(fileSize(fresh_), std::nullopt);
}

TEST_F(BusyFileTest, AReaderThatStaysCostsTheNewContentOnly)
{
    const HANDLE reader = openJealously();
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(replaceFile(fresh_, record_));
    CloseHandle(reader);
    EXPECT_EQ(fileSize(record_), 3u);
    EXPECT_EQ(fileSize(fresh_), 11u);
}

TEST(CommandLineTest, WordsComeOutAsTheyWentIn)
{
    const std::vector<std::string> words = {"C:\\Program Files\\x.exe",
                                            "",
                                            "plain",
                                            "a b",
                                            "tab\there",
                                            "say \"hi\"",
                                            "ends \\",
                                            "\\\\share\\x",
                                            "a\\\"b c",
                                            "\xe6\xb5\x8b \xf0\x9f\x98\x80"};
    int count = 0;
    wchar_t **parsed = CommandLineToArgvW(commandLine(words).c_str(), &count);
    std::vector<std::string> result;
    for (int i = 0; i < count; ++i)
        result.push_back(narrowText(parsed[i]));
    LocalFree(parsed);
    EXPECT_EQ(result, words);
}

} // namespace
} // namespace tavu
