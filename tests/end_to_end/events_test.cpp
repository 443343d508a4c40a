#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(Queues, BelongToTheirConnection)
{
    Service service;
    Script(service).play(R"(
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

TEST(Queues, OfClientsThatLeftAreReusedLowestFirst)
{
    Service service;
    Client witness(service);
    EXPECT_EQ(witness.result(0).text, R"({"queueId":0})");
    for (int round = 0; round < 3; round++) {
        // The service notices a departure in its own time.
        EXPECT_TRUE(waitUntil([&] {
            Client first(service), second(service);
            const bool reused = first.result(0).text == R"({"queueId":1})" &&
                                second.result(0).text == R"({"queueId":2})";
            witness.call(50, "D");
            return reused;
        }));
    }
}

TEST(Queues, AReadThatFindsNothingEndsAfterHalfASecond)
{
    Service service;
    Client client(service);
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
    Client other(service), reader(service);
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
    const std::string start =
        "42 D externalTrigger=0 type=1 usePretrigger=false pretriggerCount=0 ";
    const std::string setInfo = "49 D fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 "
                                "numDroppedFrames=0 duration=0 ";
    const std::string none = R"({"ok":false})";
    const auto event = [](int type, uint32_t device, int port) {
        return concat(R"({"ok":true,"event":{"type":)", type, R"(,"device":)", device,
                      R"(,"port":)", port, "}}");
    };
    const std::pair<std::string, std::string> steps[] = {
        {"34 P identity='Cam' info=# numFramesPerPacket=1 -> ok", event(5, 0, 0)},
        {"36 P identity='Cam' info=#01 numFramesPerPacket=1 -> ok", none},
        {"41 P width=4 height=4 pixelFormat=0 tapGeometry=0 -> ok", none},
        {"42 D portMask=1 externalTrigger=1 type=1 count=1 usePretrigger=false pretriggerCount=0 "
         "-> ok",
         event(2, 0, 1)},
        {"43 D -> !Not recording", none},
        {start + "portMask=5 count=1 -> !Invalid port mask", none},
        {start + "portMask=1 count=0 -> ok", event(2, 0, 1)},
        {"43 D -> ok", event(3, 0, 0)},
        {"48 D fileId=1 streamId=0 name='n' notify=false -> ok", none},
        {"48 D fileId=1 streamId=0 name='n' notify=true -> ok", event(4, 0, 0)},
        {setInfo + R"(notify=false -> {"name":"m"})", none},
        {setInfo + R"r(notify=true -> {"name":"m(1)"})r", event(4, 0, 0)},
        {"48 D fileId=2 streamId=0 name='n' notify=true -> !Invalid fileId", none},
        {"31 D fileId=2 streamId=0 -> !Invalid fileId", none},
        {"31 D fileId=1 streamId=0 -> ok", event(4, 0, 0)},
        {"33 D -> ok", none},
        {"37 P -> ok", event(5, 0, 0)},
        {"50 deviceId=4294967295 -> ok", event(4, 4294967295, 0)},
    };
    Service service;
    Script script(service);
    script.play(R"(
        A 0 -> {"queueId":0}
        B 0 -> {"queueId":1}
    )");
    for (const auto &[step, expected] : steps)
        script.play("A " + step + "\nB 3 queueId=1 -> " + expected + "\nA 3 queueId=0 -> " +
                    expected + "\nA 3 queueId=0 -> " + none + "\nB 3 queueId=1 -> " + none);
    EXPECT_EQ(service.errors(), "Invalid port mask\n");
}

TEST(GlobalLock, OrdersClientsAndTellsMisuse)
{
    Service service;
    Client holder(service), waiter(service);
    const auto isRefused = [](Client &client, uint64_t ordinal) {
        return client.call(ordinal).starts_with(R"({"error":")");
    };
    EXPECT_TRUE(isRefused(holder, 56));
    EXPECT_EQ(holder.call(55), "{}");
    EXPECT_TRUE(isRefused(holder, 55));
    EXPECT_TRUE(isRefused(waiter, 56)) << "another connection holds it";
    waiter.request(55);
    EXPECT_FALSE(waiter.pipe.waitForInput(std::chrono::milliseconds(100)));
    EXPECT_EQ(holder.result(4)["count"].text, "1");
    EXPECT_EQ(holder.call(56), "{}");
    EXPECT_EQ(waiter.reply().text, "{}");
    holder.request(55);
    waiter.pipe.close();
    EXPECT_EQ(holder.reply().text, "{}") << "a client that goes frees the lock";
}

} // namespace
} // namespace tavu::test
