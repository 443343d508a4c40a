#include "harness/emulator.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const std::string kNotOwner =
    error("A connection can only read from an event queue that it created.");
const std::string kNoQueue = error("Inalid event queue id.");
const std::string kEmpty = R"({"result":{"ok":false}})";
const std::string kNothing = R"({"result":{"event":{"type":6,"device":0,"port":0}}})";

std::string queueReply(uint64_t id) { return concat(R"({"result":{"queueId":)", id, "}}"); }

std::string eventReply(int type, uint32_t device, uint32_t port)
{
    return concat(R"({"result":{"ok":true,"event":{"type":)", type, R"(,"device":)", device,
                  R"(,"port":)", port, "}}}");
}

TEST(Queues, BelongToTheirConnection)
{
    Service service;
    Client first(service), second(service);
    EXPECT_EQ(first.call(0), queueReply(0));
    EXPECT_EQ(first.call(0), error("A connection can only have one event queue."));
    EXPECT_EQ(first.call(3, "queueId=0"), kEmpty);

    EXPECT_EQ(second.call(2, "queueId=0"), kNotOwner);
    EXPECT_EQ(second.call(3, "queueId=0"), kNotOwner);
    EXPECT_EQ(second.call(2, "queueId=4294967295"), kNoQueue);
    EXPECT_EQ(second.call(3, "queueId=4294967295"), kNoQueue);
    EXPECT_EQ(second.call(1, "queueId=1"), kNoQueue);
    EXPECT_EQ(second.call(0), queueReply(1));
    EXPECT_EQ(second.call(2, "queueId=0"), kNotOwner);

    EXPECT_EQ(second.call(1, "queueId=0"), "{}");
    EXPECT_EQ(second.call(1, "queueId=0"), kNoQueue);
    EXPECT_EQ(first.call(3, "queueId=0"), kNotOwner);
    // Nobody took the closing event out of slot 0, so that the slot stays lost.
    EXPECT_EQ(first.call(0), queueReply(2));
    EXPECT_EQ(second.call(3, "queueId=1"), kEmpty);
}

TEST(Queues, OfClientsThatLeftAreReusedLowestFirst)
{
    Service service;
    Client witness(service);
    EXPECT_EQ(witness.call(0), queueReply(0));
    for (int round = 0; round < 3; round++) {
        // The service notices a departure in its own time.
        EXPECT_TRUE(waitUntil([&] {
            Client first(service), second(service);
            const bool reused =
                first.call(0) == queueReply(1) && second.call(0) == queueReply(2);
            witness.call(50, "deviceId=0");
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
    EXPECT_EQ(client.call(2, "queueId=0"), kNothing);
    const auto duration = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, std::chrono::milliseconds(480));
    EXPECT_LE(duration, std::chrono::seconds(10));
}

TEST(Queues, AreClosedUnderABlockedReader)
{
    Service service;
    Client closer(service), reader(service);
    uint64_t id = reader.result(0)["queueId"].number;
    bool readerWasWoken = false;
    // Whether the reader is inside its read already can't be seen from here: try until it was.
    for (int attempt = 0; attempt < 50 && !readerWasWoken; attempt++) {
        reader.request(2, concat("queueId=", id));
        for (int i = 0; i < 10; i++)
            closer.call(4);
        EXPECT_EQ(closer.call(1, concat("queueId=", id)), "{}");
        const std::string answer = reader.reply().text;
        readerWasWoken = answer == R"({"result":{"event":{"type":0,"device":0,"port":0}}})";
        if (!readerWasWoken) {
            EXPECT_TRUE(answer == kNotOwner || answer == kNoQueue || answer == kNothing) << answer;
        }
        const uint64_t next = reader.result(0)["queueId"].number;
        EXPECT_EQ(next == id, readerWasWoken);
        id = next;
    }
    EXPECT_TRUE(readerWasWoken);
}

TEST(Queues, ABlockedReadTakesTheEventThatComes)
{
    Service service;
    Client reader(service), writer(service);
    reader.call(0);
    reader.request(2, "queueId=0");
    EXPECT_EQ(writer.call(50, "deviceId=77"), "{}");
    EXPECT_EQ(reader.reply().text, R"({"result":{"event":{"type":4,"device":77,"port":0}}})");
}

TEST(Events, StandInEachQueueBeforeTheReply)
{
    const std::string badId = error("Invalid fileId");
    const struct
    {
        uint64_t ordinal;
        const char *params;
        std::string reply;
        std::string event; ///< of a tryReadEvent
    } steps[] = {
        {34, "deviceId=0 port=0 identity='Cam' info=# numFramesPerPacket=1", "{}", eventReply(5, 0, 0)},
        {36, "deviceId=0 port=0 identity='Cam' info=#01 numFramesPerPacket=1", "{}", kEmpty},
        {41, "deviceId=0 port=0 width=4 height=4 pixelFormat=0 tapGeometry=0", "{}", kEmpty},
        {42, "deviceId=0 portMask=1 externalTrigger=1 type=1 count=1 usePretrigger=false pretriggerCount=0",
         "{}", eventReply(2, 0, 1)},
        {43, "deviceId=0", error("Not recording"), kEmpty},
        {42, "deviceId=0 portMask=5 externalTrigger=0 type=1 count=1 usePretrigger=false pretriggerCount=0",
         error("Invalid port mask"), kEmpty},
        {42, "deviceId=0 portMask=1 externalTrigger=0 type=1 count=0 usePretrigger=false pretriggerCount=0",
         "{}", eventReply(2, 0, 1)},
        {43, "deviceId=0", "{}", eventReply(3, 0, 0)},
        {48, "deviceId=0 fileId=1 streamId=0 name='n' notify=false", "{}", kEmpty},
        {48, "deviceId=0 fileId=1 streamId=0 name='n' notify=true", "{}", eventReply(4, 0, 0)},
        {49, "deviceId=0 fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 "
             "notify=false", R"({"result":{"name":"m"}})", kEmpty},
        {49, "deviceId=0 fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 "
             "notify=true", R"r({"result":{"name":"m(1)"}})r", eventReply(4, 0, 0)},
        {48, "deviceId=0 fileId=2 streamId=0 name='n' notify=true", badId, kEmpty},
        {31, "deviceId=0 fileId=2 streamId=0", badId, kEmpty},
        {31, "deviceId=0 fileId=1 streamId=0", "{}", eventReply(4, 0, 0)},
        {33, "deviceId=0", "{}", kEmpty},
        {37, "deviceId=0 port=0", "{}", eventReply(5, 0, 0)},
        {50, "deviceId=4294967295", "{}", eventReply(4, 4294967295, 0)},
    };
    Service service;
    Client actor(service), witness(service);
    actor.call(0);
    witness.call(0);
    for (const auto &step : steps) {
        SCOPED_TRACE(concat(step.ordinal, ' ', step.params));
        EXPECT_EQ(actor.call(step.ordinal, step.params), step.reply);
        EXPECT_EQ(witness.call(3, "queueId=1"), step.event);
        EXPECT_EQ(actor.call(3, "queueId=0"), step.event);
        EXPECT_EQ(actor.call(3, "queueId=0"), kEmpty);
        EXPECT_EQ(witness.call(3, "queueId=1"), kEmpty);
    }
}

TEST(Events, ComeInTheSameOrderToAll)
{
    Service service;
    Client first(service), second(service), poster(service);
    first.call(0);
    second.call(0);
    for (int device = 0; device < 1000; device++)
        poster.call(50, concat("deviceId=", device));
    for (uint32_t device = 0; device < 1000; device++) {
        ASSERT_EQ(first.call(3, "queueId=0"), eventReply(4, device, 0));
        ASSERT_EQ(second.call(3, "queueId=1"), eventReply(4, device, 0));
    }
    EXPECT_EQ(first.call(3, "queueId=0"), kEmpty);
}

TEST(GlobalLock, OrdersClients)
{
    Service service;
    Client holder(service), waiter(service);
    EXPECT_EQ(holder.call(55), "{}");
    waiter.request(55);
    EXPECT_FALSE(waiter.pipe.waitForInput(std::chrono::milliseconds(100)));
    EXPECT_EQ(holder.call(4), R"({"result":{"count":1}})");
    EXPECT_EQ(holder.call(56), "{}");
    EXPECT_EQ(waiter.reply().text, "{}");
    {
        Client third(service);
        third.request(55);
        EXPECT_EQ(waiter.call(56), "{}");
        EXPECT_EQ(third.reply().text, "{}");
        holder.request(55);
    }
    EXPECT_EQ(holder.reply().text, "{}") << "a client that died must free the lock";
}

TEST(GlobalLock, TellsMisuse)
{
    Service service;
    Client client(service), other(service);
    const auto isError = [](const std::string &text) { return text.starts_with(R"({"error":")"); };
    EXPECT_TRUE(isError(client.call(56)));
    EXPECT_EQ(client.call(55), "{}");
    EXPECT_TRUE(isError(client.call(55)));
    EXPECT_TRUE(isError(other.call(56))) << "the lock is another connection's";
    other.request(55);
    EXPECT_FALSE(other.pipe.waitForInput(std::chrono::milliseconds(50)));
    EXPECT_EQ(client.call(56), "{}");
    EXPECT_EQ(other.reply().text, "{}");
    EXPECT_TRUE(isError(client.call(56)));
}

} // namespace
} // namespace tavu::test
