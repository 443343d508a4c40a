#include "harness/service.h"

#include <future>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(Queues, BelongToTheirConnection)
{
    Service service;
    Script().play(R"(
        A 0 -> {"queueId":0}
        A 0 -> !A connection can only have one event queue.
        A 3 queueId=0 -> {"ok":false}
        B 2 queueId=0 -> !A connection can only read from an event queue that it created.
        B 3 queueId=0 -> !A connection can only read from an event queue that it created.
        B 2 queueId=4294967295 -> !Inalid event queue id.
        B 3 queueId=4294967295 -> !Inalid event queue id.
        B 1 queueId=1 -> !Inalid event queue id.
        B 0 -> {"queueId":1}
        B 2 queueId=0 -> !A connection can only read from an event queue that it created.
        B 1 queueId=0 -> ok
        B 1 queueId=0 -> !Inalid event queue id.
        A 3 queueId=0 -> !A connection can only read from an event queue that it created.
        A 0 -> {"queueId":2}
        B 3 queueId=1 -> {"ok":false}
    )"); // Nobody took the closing event out of slot 0, so that the slot stayed lost.
}

TEST(Queues, AReadThatFindsNothingEndsAfterHalfASecond)
{
    Service service;
    Client client;
    client.call(0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.result(2, "queueId=0").text, R"({"event":{"type":6,"device":0,"port":0}})");
    const auto duration = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, std::chrono::milliseconds(480));
    EXPECT_LE(duration, std::chrono::seconds(10));
}

TEST(Queues, ABlockedReaderTakesWhatComes)
{
    Service service;
    Client other, reader;
    uint64_t id = reader.result(0)["queueId"].number;
    reader.request(2, concat("queueId=", id));
    EXPECT_EQ(other.call(50, "deviceId=77"), "{}");
    EXPECT_EQ(reader.reply()["result"].text, R"({"event":{"type":4,"device":77,"port":0}})");

    // Whether a reader is inside its read already can't be seen from here: try until one was when
    // its queue was closed. Only then the slot is free again.
    bool wasWoken = false;
    for (int attempt = 0; attempt < 50 && !wasWoken; attempt++) {
        reader.request(2, concat("queueId=", id));
        for (int i = 0; i < 10; i++)
            other.call(4);
        EXPECT_EQ(other.call(1, concat("queueId=", id)), "{}");
        wasWoken = reader.reply().text == R"({"result":{"event":{"type":0,"device":0,"port":0}}})";
        const uint64_t next = reader.result(0)["queueId"].number;
        EXPECT_EQ(next == id, wasWoken);
        id = next;
    }
    EXPECT_TRUE(wasWoken);
}

TEST(Events, StandInEachQueueBeforeTheReply)
{
    // A step and the type, device and port of its event, if any.
    std::istringstream steps(R"r(
34 P identity='Cam' info=# numFramesPerPacket=1 -> ok | 5 0 0
36 P identity='Cam' info=#01 numFramesPerPacket=1 -> ok |
41 P width=4 height=4 pixelFormat=0 tapGeometry=0 -> ok |
42 D portMask=1 externalTrigger=1 type=1 count=1 usePretrigger=false pretriggerCount=0 -> ok | 2 0 1
43 D -> !Not recording |
42 D portMask=5 externalTrigger=0 type=1 count=1 usePretrigger=false pretriggerCount=0 -> !Invalid port mask |
42 D portMask=1 externalTrigger=0 type=1 count=0 usePretrigger=false pretriggerCount=0 -> ok | 2 0 1
43 D -> ok | 3 0 0
48 D fileId=1 streamId=0 name='n' notify=false -> ok |
48 D fileId=1 streamId=0 name='n' notify=true -> ok | 4 0 0
49 D fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 notify=false -> {"name":"m"} |
49 D fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 notify=true -> {"name":"m(1)"} | 4 0 0
48 D fileId=2 streamId=0 name='n' notify=true -> !Invalid fileId |
31 D fileId=2 streamId=0 -> !Invalid fileId |
31 D fileId=1 streamId=0 -> ok | 4 0 0
33 D -> ok |
37 P -> ok | 5 0 0
50 deviceId=4294967295 -> ok | 4 4294967295 0)r");
    Service service;
    Script script;
    script.play("A 0 -> {\"queueId\":0}\nB 0 -> {\"queueId\":1}");
    const std::string none = R"({"ok":false})";
    std::string step, type, device, port;
    steps.ignore();
    while (std::getline(steps, step, '|')) {
        std::getline(steps, port);
        std::istringstream event(port);
        std::string expected = none;
        if (event >> type >> device >> port)
            expected = concat(R"({"ok":true,"event":{"type":)", type, R"(,"device":)", device,
                              R"(,"port":)", port, "}}");
        script.play("A " + step.substr(0, step.size() - 1) + "\nB 3 queueId=1 -> " + expected +
                    "\nA 3 queueId=0 -> " + expected + "\nA 3 queueId=0 -> " + none +
                    "\nB 3 queueId=1 -> " + none);
    }
    EXPECT_EQ(service.errors(), "Invalid port mask\n");
}

TEST(GlobalLock, OrdersClientsAndTellsMisuse)
{
    Service service;
    Client holder, waiter;
    const auto isRefused = [](Client &client, uint64_t ordinal) {
        return client.call(ordinal).starts_with(R"({"error":")");
    };
    EXPECT_TRUE(isRefused(holder, 56));
    EXPECT_EQ(holder.call(55), "{}");
    EXPECT_TRUE(isRefused(holder, 55));
    EXPECT_TRUE(isRefused(waiter, 56)) << "another connection holds it";
    waiter.request(55);
    auto answer = std::async(std::launch::async, [&] { return waiter.reply().text; });
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(holder.call(56), "{}");
    EXPECT_EQ(answer.get(), "{}");
    holder.request(55);
    waiter.close();
    EXPECT_EQ(holder.reply().text, "{}") << "a client that goes frees the lock";
}

} // namespace
} // namespace tavu::test
