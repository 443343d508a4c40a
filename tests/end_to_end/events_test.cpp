#include "harness/recording.h"
#include "harness/service.h"

#include <future>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(Queues, BelongToTheirConnection)
{
    Service service;
    Script().play(R"(
        A createEventQueue -> {"queueId":0}
        A createEventQueue -> !A connection can only have one event queue.
        A tryReadEvent queueId=0 -> {"ok":false}
        A readEvent queueId=0 -> {"event":{"type":6,"device":0,"port":0}}
        B readEvent queueId=0 -> !A connection can only read from an event queue that it created.
        B tryReadEvent queueId=0 -> !A connection can only read from an event queue that it created.
        B readEvent queueId=4294967295 -> !Inalid event queue id.
        B tryReadEvent queueId=4294967295 -> !Inalid event queue id.
        B destroyEventQueue queueId=1 -> !Inalid event queue id.
        B createEventQueue -> {"queueId":1}
        B readEvent queueId=0 -> !A connection can only read from an event queue that it created.
        B destroyEventQueue queueId=0 -> ok
        B destroyEventQueue queueId=0 -> !Inalid event queue id.
        A tryReadEvent queueId=0 -> !A connection can only read from an event queue that it created.
        A createEventQueue -> {"queueId":2}
        B tryReadEvent queueId=1 -> {"ok":false}
    )"); // Slot 0 isn't used again, since nobody has read the event that closed it.
}

TEST(Queues, ABlockedReaderTakesWhatComes)
{
    Service service;
    Client other, reader;
    uint64_t id = reader.result("createEventQueue")["queueId"].number;
    reader.request("readEvent", concat("queueId=", id));
    other.does("notifyFilesChanged", "deviceId=77");
    EXPECT_EQ(reader.reply()["result"].text, R"({"event":{"type":4,"device":77,"port":0}})");

    // The test can't see when the reader waits inside its read, so it tries until it did when its
    // queue was closed. Then the reader got the closing event, and its slot is used again.
    bool wasWoken = false;
    for (int attempt = 0; attempt < 50 && !wasWoken; attempt++) {
        reader.request("readEvent", concat("queueId=", id));
        for (int i = 0; i < 10; i++)
            other.call("deviceCount");
        other.does("destroyEventQueue", concat("queueId=", id));
        wasWoken = reader.reply().text == R"({"result":{"event":{"type":0,"device":0,"port":0}}})";
        const uint64_t next = reader.result("createEventQueue")["queueId"].number;
        EXPECT_EQ(next == id, wasWoken);
        id = next;
    }
    EXPECT_TRUE(wasWoken);
}

TEST(Events, StandInEachQueueBeforeTheReply)
{
    // A step and the type, device and port of its event, if any.
    std::istringstream steps(R"r(
pairPort P identity='Cam' info=# numFramesPerPacket=1 -> ok | 5 0 0
repairPort P identity='Cam' info=#01 numFramesPerPacket=1 -> ok |
setPortConfig P width=4 height=4 pixelFormat=0 tapGeometry=0 -> ok |
startRecording D portMask=1 externalTrigger=1 type=1 count=1 usePretrigger=false pretriggerCount=0 -> ok | 2 0 1
stopRecording D -> !Not recording |
startRecording D portMask=5 externalTrigger=0 type=1 count=1 usePretrigger=false pretriggerCount=0 -> !Invalid port mask |
startRecording D portMask=1 externalTrigger=0 type=1 count=0 usePretrigger=false pretriggerCount=0 -> ok | 2 0 1
stopRecording D -> ok | 3 0 0
renameFile D fileId=1 streamId=0 name='n' notify=false -> ok |
renameFile D fileId=1 streamId=0 name='n' notify=true -> ok | 4 0 0
setFileInfo D fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 notify=false -> {"name":"m"} |
setFileInfo D fileId=1 streamId=0 name='m' width=4 height=4 numImages=1 numDroppedFrames=0 duration=0 notify=true -> {"name":"m(1)"} | 4 0 0
renameFile D fileId=2 streamId=0 name='n' notify=true -> !Invalid fileId |
removeFile D fileId=2 streamId=0 -> !Invalid fileId |
removeFile D fileId=1 streamId=0 -> ok | 4 0 0
setup D -> ok |
unpairPort P -> ok | 5 0 0
notifyFilesChanged deviceId=4294967295 -> ok | 4 4294967295 0)r");
    Service service;
    Script script;
    script.play("A createEventQueue -> {\"queueId\":0}\nB createEventQueue -> {\"queueId\":1}");
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
        script.play(concat("A ", step.substr(0, step.size() - 1), "\nB tryReadEvent queueId=1 -> ",
                           expected, "\nA tryReadEvent queueId=0 -> ", expected,
                           "\nA tryReadEvent queueId=0 -> ", none, "\nB tryReadEvent queueId=1 -> ",
                           none));
    }
    EXPECT_EQ(service.errors(), "Invalid port mask\n");
}

TEST(GlobalLock, OrdersClientsAndTellsMisuse)
{
    Service service;
    Client holder, waiter;
    const auto isRefused = [](Client &client, std::string_view command) {
        return client.call(command).starts_with(R"({"error":")");
    };
    EXPECT_TRUE(isRefused(holder, "unlockGlobal"));
    holder.does("lockGlobal");
    EXPECT_TRUE(isRefused(holder, "lockGlobal"));
    EXPECT_TRUE(isRefused(waiter, "unlockGlobal")) << "another connection holds it";
    waiter.request("lockGlobal");
    auto answer = std::async(std::launch::async, [&] { return waiter.reply().text; });
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    holder.does("unlockGlobal");
    EXPECT_EQ(answer.get(), "{}");
    holder.request("lockGlobal");
    waiter.close();
    EXPECT_EQ(holder.reply().text, "{}") << "a client that goes frees the lock";
}

} // namespace
} // namespace tavu::test
