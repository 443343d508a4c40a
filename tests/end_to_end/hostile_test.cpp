#include "harness/recording.h"
#include "harness/service.h"

#include <atomic>
#include <exception>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace tavu::test {
namespace {

TEST(Hostile, NestingCostsNoStack)
{
    Service service;
    Client witness;
    const int levels = onWine() ? 50000 : 300000;
    for (const std::string_view level : {"91", "81A0"}) {
        Bytes nest;
        for (int depth = 0; depth < levels; depth++)
            nest += level == "91" ? Bytes(1, '\x91') : Bytes("\x81\xA0");
        Client client;
        // Whole: a value that nobody looks at, and a parameter of the wrong type.
        client.send(encodeRequest("deviceCount", nest + fromHex("C0")));
        EXPECT_EQ(client.reply()["result"]["count"].text, "1");
        client.send(encodeRequest(
            "deviceName", encodeMap(std::vector<Field>{{"deviceId", '!', nest + fromHex("C0")}})));
        EXPECT_EQ(client.reply()["error"].string.substr(0, 15), "Object type is ");
        // Broken at the bottom.
        client.send(nest + fromHex("C1"));
        EXPECT_EQ(client.receiveUntilEnd(), "");
    }
    EXPECT_EQ(witness.result("deviceCount")["count"].text, "1");
}

TEST(Hostile, AnnouncedLengthsTouchNoMemory)
{
    Service service;
    Client witness;
    const uint64_t before = service.residentBytes();
    std::vector<std::unique_ptr<Client>> clients;
    for (const char *head : {"DDFFFFFFFF", "DDFFFFFFFF DDFFFFFFFF DDFFFFFFFF", "DFFFFFFFFF A161 C0",
                             "81 A161 DFFFFFFFFF A161 DDFFFFFFFF C0", "C6FFFFFFFF 0000",
                             "DBFFFFFFFF 0000", "81 DBFFFFFFFF 61", "DD10000000 C6F0000000 00"}) {
        clients.push_back(std::make_unique<Client>());
        clients.back()->send(fromHex(head));
    }
    for (int i = 0; i < 500; i++)
        EXPECT_EQ(witness.result("deviceCount")["count"].text, "1");
    EXPECT_LT(service.residentBytes(), before + (uint64_t(512) << 20));
    for (const char *command : {"serialRead", "registerRead"})
        EXPECT_NE(witness.call(command, "P addr=0 size=4294967295").find("error"),
                  std::string::npos);
    clients.clear();
    EXPECT_EQ(witness.result("deviceCount")["count"].text, "1");
}

TEST(Hostile, BytesHurtOnlyTheirConnection)
{
    Service service;
    Script script;
    script.play("A configures 4 4\nA records 1");
    const std::string list = script["A"].call("listFiles", "D");
    std::mt19937 random(20260101);
    std::vector<std::unique_ptr<Client>> open;
    const Bytes valid = encodeRequest("openFile", encodeMap("D fileId=1 streamId=0 x=#0102030405"));
    for (int round = 0; round < 1000; round++) {
        open.push_back(std::make_unique<Client>(round % 4 != 0));
        Bytes bytes;
        for (int i = 0; i < 20; i++) {
            Bytes damaged = valid;
            damaged[random() % damaged.size()] = static_cast<char>(random());
            bytes +=
                round % 2 == 0 ? Bytes(1 + random() % 9, static_cast<char>(random())) : damaged;
        }
        open.back()->send(bytes);
        if (open.size() > random() % 200)
            open.clear();
    }
    EXPECT_EQ(script["A"].call("listFiles", "D"), list);
}

/// What one of many clients does, whatever the others do. Live view and recording may be refused.
void hammer(unsigned seed)
{
    std::mt19937 random(seed);
    Client client;
    const auto number = [&](const char *command, const char *params, const char *key) {
        return client.result(command, params)[key].text;
    };
    const std::string queue = "queueId=" + number("createEventQueue", "", "queueId");
    const int rounds = onWine() ? 10 : 25;
    for (int round = 0; round < rounds; round++) {
        const std::string slot =
            "D openFileId=" + number("openFile", "D fileId=1 streamId=0", "openFileId");
        const std::string geometry = concat("P width=", random() % 200, " height=", random() % 200,
                                            " pixelFormat=0 tapGeometry=0");
        using Errand = std::vector<std::pair<const char *, std::string>>;
        const Errand errands[] = {
            {{"lockGlobal", ""}, {"unlockGlobal", ""}},
            {{"setPortConfig", geometry}},
            {{"startLive", "P"}, {"liveFrame", "P"}, {"stopLive", "P"}},
            {{"startRecording", recordingOf(1, "type=1 count=1")}, {"stopRecording", "D"}},
            {{"notifyFilesChanged", "deviceId=3"}},
            {{"listFiles", "D"}, {"tryReadEvent", queue}},
        };
        client.does("readFrame", slot + " frame=1");
        if (random() % 2 == 0)
            client.does("closeFile", slot);
        const size_t errand = random() % std::size(errands);
        for (const auto &[command, params] : errands[errand]) {
            const std::string reply = client.call(command, params);
            EXPECT_TRUE(errand == 2 || errand == 3 || !reply.starts_with(R"({"error")")) << reply;
        }
    }
}

TEST(Hostile, ManyClientsAtOnceWhileOnePlaysBack)
{
    Service service;
    Client player;
    configure(player, 90, 11);
    record(player, 5);
    const Region region(player.result("openFile", "D fileId=1 streamId=0"));
    std::atomic<int> running = 64;
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 64; seed++)
        threads.emplace_back([&, seed] {
            try {
                hammer(seed);
            } catch (const std::exception &exception) {
                ADD_FAILURE() << exception.what();
            }
            running--;
        });
    for (uint64_t frame = 0; running > 0; frame = (frame + 1) % 5) {
        player.does("readFrame", concat("D openFileId=0 frame=", frame));
        EXPECT_EQ(region.bytes(1980), expectedFrame(frame, 90, 11));
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(player.result("deviceCount")["count"].text, "1");
}

} // namespace
} // namespace tavu::test
