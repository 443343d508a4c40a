#include "platform/diagnostics.h"

#include "support/wait.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tavu {
namespace {

#ifdef _WIN32
int makePipe(int (&ends)[2])
{
    return _pipe(ends, 1 << 16, _O_BINARY);
}
#else
int makePipe(int (&ends)[2])
{
    return ::pipe(ends);
}
#endif

TEST(DiagnosticsTest, AReaderThatStopsHoldsNobodyUp)
{
    int ends[2];
    ASSERT_EQ(0, makePipe(ends));
    std::FILE *stream = ::fdopen(ends[1], "w");
    const std::string line(1000, 'x');
    // Far more than a pipe holds: a call that waits for the reader would never end. Lines on
    // standard error, which has a reader, in between don't make the others wait again.
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i) {
        if (i >= 900)
            printLine(stderr, "%s", "");
        printLine(stream, "%s\n", line.c_str());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    // The reader is back, and so are the lines, none of them torn or out of order.
    std::string text;
    std::array<char, 4096> buffer;
    const auto readSome = [&] {
        const auto count = ::read(ends[0], buffer.data(), buffer.size());
        ASSERT_GT(count, 0);
        text.append(buffer.data(), static_cast<size_t>(count));
    };
    while (text.size() < 30'000)
        readSome();
    const std::string last = std::string(5000, 'y') + "again\n"; // more than a pipe takes at once
    for (int i = 0; !text.ends_with(last); ++i) {
        ASSERT_LT(i, 1000);
        printLine(stream, "%s", last.c_str());
        for (const size_t before = text.size(); text.size() < before + last.size();)
            readSome();
    }
    for (size_t at = 0, end; at < text.size(); at = end + 1) {
        end = text.find('\n', at);
        const std::string one = text.substr(at, end + 1 - at);
        ASSERT_TRUE(one == line + '\n' || one == last) << one.substr(0, 20) << one.size();
    }

#ifdef SIGPIPE
    const auto former = std::signal(SIGPIPE, SIG_IGN);
#endif
    ::close(ends[0]);
    printLine(stream, "nobody reads this\n");
#ifdef SIGPIPE
    std::signal(SIGPIPE, former);
#endif
    std::fclose(stream);
}

} // namespace
} // namespace tavu
