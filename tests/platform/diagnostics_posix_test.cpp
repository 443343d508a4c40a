#include "platform/diagnostics.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <unistd.h>

namespace tavu {
namespace {

TEST(DiagnosticsTest, AReaderThatStopsHoldsNobodyUp)
{
    int ends[2];
    ASSERT_EQ(0, ::pipe(ends));
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
    std::string buffer(1 << 20, '\0');
    EXPECT_GT(::read(ends[0], buffer.data(), buffer.size()), 30'000);
    // The reader is back, and so are the lines.
    printLine(stream, "again\n");
    const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
    EXPECT_EQ("again\n", buffer.substr(0, static_cast<size_t>(count)));

    const auto former = std::signal(SIGPIPE, SIG_IGN);
    ::close(ends[0]);
    printLine(stream, "nobody reads this\n");
    std::signal(SIGPIPE, former);
    std::fclose(stream);
}

} // namespace
} // namespace tavu
