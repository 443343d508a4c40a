#include "service/transport/local_socket.h"

#include "support/environment.h"
#include "support/error_of.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tavu {
namespace {

std::string raisedBy(LocalSocketServer &server)
{
    return test::errorOf([&] { server.accept(); });
}

class LocalSocketTest : public testing::Test
{
protected:
    LocalSocketTest() { std::filesystem::create_directory(address_); }

    /// A connected pair; the server keeps listening.
    void connectPair()
    {
        ASSERT_TRUE(server_.listen(name_, false));
        ASSERT_TRUE(client_.connect(name_));
        peer_ = server_.accept();
    }

    /// A write that may have to wait for its reader.
    static std::future<uint64_t> send(LocalSocket &socket, const std::string &bytes)
    {
        return std::async(std::launch::async,
                          [&socket, bytes] { return socket.write(bytes.data(), bytes.size()); });
    }

    const test::TemporaryFolder folder_;
    // A path longer than an address can hold makes no difference.
    const std::filesystem::path address_ = folder_.path / std::string(120, 'd');
    const test::ScopedVariable place_{"XDG_RUNTIME_DIR", address_.string()};
    const std::string name_ = folder_.path.filename().string(); // nobody else has it
    LocalSocketServer server_;
    LocalSocket client_;
    LocalSocket peer_;
};

TEST_F(LocalSocketTest, MovesBytesBothWaysAndReportsShortCounts)
{
    connectPair();
    // More than the system's buffers hold, so that reading and writing take several calls.
    const std::string sent(3'000'000, 'x');
    auto writing = send(client_, sent);
    std::string received(sent.size(), '\0');
    EXPECT_EQ(received.size(), peer_.read(received.data(), received.size()));
    EXPECT_EQ(sent.size(), writing.get());
    EXPECT_EQ(sent, received);

    EXPECT_EQ(0u, peer_.read(nullptr, 0));
    EXPECT_EQ(0u, peer_.write(nullptr, 0));
    auto lastWords = std::async(std::launch::async, [&] {
        const uint64_t count = peer_.write("abc", 3);
        peer_.close();
        return count;
    });
    char buffer[8];
    EXPECT_EQ(3u, client_.read(buffer, sizeof buffer));
    EXPECT_EQ(3u, lastWords.get());
    EXPECT_EQ(0u, client_.read(buffer, sizeof buffer));
    peer_.close();
    EXPECT_EQ(0u, peer_.read(buffer, 1));
    EXPECT_EQ(0u, peer_.write(buffer, 1));
}

TEST_F(LocalSocketTest, UnreadBytesDontSpoilTheEndThatThePeerSees)
{
    if (test::onWindows())
        GTEST_SKIP() << "bytes that nobody reads hold up their writer here";
    connectPair();
    client_.write("left unread", 11);
    peer_.write("last words", 10);
    peer_.close();
    char buffer[16];
    EXPECT_EQ(10u, client_.readSome(buffer, sizeof buffer));
    EXPECT_EQ(0u, client_.readSome(buffer, sizeof buffer));
    EXPECT_EQ(0u, client_.write("x", 1));
}

TEST_F(LocalSocketTest, CloseFromAnotherThreadEndsBlockedCalls)
{
    connectPair();
    LocalSocket secondClient;
    ASSERT_TRUE(secondClient.connect(name_));
    LocalSocket secondPeer = server_.accept();
    std::string bytes(8'000'000, 'x');
    auto reading =
        std::async(std::launch::async, [&] { return peer_.read(bytes.data(), bytes.size()); });
    auto writing = send(secondPeer, bytes);
    for (auto [socket, blocked] : {std::pair(&peer_, &reading), {&secondPeer, &writing}}) {
        EXPECT_EQ(std::future_status::timeout, blocked->wait_for(std::chrono::milliseconds(20)));
        socket->close();
        ASSERT_EQ(std::future_status::ready, blocked->wait_for(std::chrono::seconds(30)));
        EXPECT_LT(blocked->get(), bytes.size());
    }
}

// The system uses the number of a closed handle again at once. A thread that still reads from the
// closed socket must not read from the new one.
TEST_F(LocalSocketTest, CloseNeverHitsAReusedHandle)
{
    ASSERT_TRUE(server_.listen(name_, false));
    for (int round = 0; round < 200; ++round) {
        LocalSocket client;
        ASSERT_TRUE(client.connect(name_));
        LocalSocket peer = server_.accept();
        std::thread reader([&] {
            char byte;
            while (peer.read(&byte, 1) == 1) {
            }
        });
        client.write("abcdef", 6);
        peer.close();
        // A new socket gets the number that was freed.
        LocalSocket next;
        ASSERT_TRUE(next.connect(name_));
        LocalSocket nextPeer = server_.accept();
        auto writing = send(nextPeer, "n");
        char byte = 0;
        ASSERT_EQ(1u, next.read(&byte, 1));
        EXPECT_EQ('n', byte);
        ASSERT_EQ(1u, writing.get());
        reader.join();
    }
}

TEST_F(LocalSocketTest, AbortEndsAcceptForGood)
{
    EXPECT_EQ("Pipe not open.", raisedBy(server_));
    ASSERT_TRUE(server_.listen(name_, false));
    auto accepting = std::async(std::launch::async, [&] { return raisedBy(server_); });
    EXPECT_EQ(std::future_status::timeout, accepting.wait_for(std::chrono::milliseconds(300)));
    server_.abort();
    ASSERT_EQ(std::future_status::ready, accepting.wait_for(std::chrono::seconds(30)));
    EXPECT_EQ("ConnectNamedPipe aborted.", accepting.get());
    server_.abort();
    EXPECT_EQ("Pipe not open.", raisedBy(server_));
    EXPECT_FALSE(client_.connect(name_));
}

TEST_F(LocalSocketTest, ListsWhatListens)
{
    EXPECT_TRUE(listLocalSockets("no such prefix").empty());
    if (test::onWine())
        GTEST_SKIP() << "Wine can't list pipes";
    ASSERT_TRUE(server_.listen(name_, false));
    EXPECT_EQ(std::vector<std::string>{name_}, listLocalSockets(name_));
}

} // namespace
} // namespace tavu
