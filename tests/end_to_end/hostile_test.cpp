#include "harness/emulator.h"

#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace tavu::test {
namespace {

const std::string kOneDevice = R"({"result":{"count":1}})";

Bytes repeat(const Bytes &bytes, size_t count)
{
    Bytes result;
    result.reserve(bytes.size() * count);
    for (size_t i = 0; i < count; i++)
        result += bytes;
    return result;
}

TEST(Hostile, NestingCostsNoStack)
{
    Service service;
    Client witness(service);
    const size_t depth = 1500000;
    const Bytes arrays = repeat(fromHex("91"), depth);
    const Bytes maps = repeat(fromHex("81A0"), depth);
    for (const Bytes &nest : {arrays, maps}) {
        Client client(service);
        // Whole: a value among others that nobody looks at, and a parameter of the wrong type.
        client.pipe.send(encodeRequest(4, nest + fromHex("C0")));
        EXPECT_EQ(client.reply().text, kOneDevice);
        client.pipe.send(encodeRequest(5, encodeMap(std::vector<Field>{{"deviceId", '!', nest + fromHex("C0")}})));
        EXPECT_EQ(client.reply().text,
                  error("Object type is not positive integer, but positive integer expected."));
        // Broken at the bottom, and left by a client that goes.
        client.pipe.send(nest + fromHex("C1"));
        EXPECT_EQ(client.pipe.receiveUntilEnd(), "");
        Client(service).pipe.send(nest);
    }
    EXPECT_EQ(witness.call(4), kOneDevice);
}

TEST(Hostile, AnnouncedLengthsTouchNoMemory)
{
    Service service;
    Client witness(service);
    const uint64_t before = service.residentBytes();
    const char *heads[] = {"DDFFFFFFFF", "DDFFFFFFFF DDFFFFFFFF DDFFFFFFFF", "DFFFFFFFFF A161 C0",
                           "81 A161 DFFFFFFFFF A161 DDFFFFFFFF C0", "C6FFFFFFFF 0000", "DBFFFFFFFF 0000",
                           "81 DBFFFFFFFF 61", "84 A3616374 DBFFFFFFFF 65786563",
                           "DD10000000 C6F0000000 00"};
    std::vector<std::unique_ptr<Client>> clients;
    for (const char *head : heads) {
        clients.push_back(std::make_unique<Client>(service));
        clients.back()->pipe.send(fromHex(head));
        // The service must answer others while these wait for the rest.
        EXPECT_EQ(witness.call(4), kOneDevice);
    }
    for (int i = 0; i < 200; i++)
        EXPECT_EQ(witness.call(4), kOneDevice);
    EXPECT_LT(service.residentBytes(), before + (uint64_t(256) << 20));
    clients.clear();
    EXPECT_EQ(witness.call(4), kOneDevice);
}

TEST(Hostile, LargeBlobsOfDeviceBuffersAreAnswered)
{
    Service service;
    Client client(service);
    for (const uint64_t ordinal : {17, 21})
        for (const char *size : {"4294967295", "2147483648", "1"}) {
            const std::string answer =
                client.call(ordinal, concat("deviceId=0 port=0 addr=0 size=", size));
            EXPECT_TRUE(answer.starts_with(R"({"error":")")) << answer;
        }
    EXPECT_EQ(client.call(4), kOneDevice);
}

TEST(Hostile, RandomBytesHurtOnlyTheirConnection)
{
    Service service;
    Client witness(service);
    configure(witness, 4, 4);
    record(witness, 1);
    const std::string list = witness.call(26, "deviceId=0");
    std::mt19937 random(20260101);
    const auto below = [&](size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random); };
    const Bytes valid = encodeRequest(27, encodeMap("deviceId=0 fileId=1 streamId=0 x=#0102030405"));
    for (int round = 0; round < 400; round++) {
        Client client(service, round % 4 != 0);
        Bytes bytes;
        if (round % 2 == 0)
            for (size_t i = below(300); i > 0; i--)
                bytes += static_cast<char>(below(256));
        else
            for (int i = 0; i < 20; i++) {
                // Commands that wait for another client are left out.
                Bytes damaged = valid;
                damaged[below(damaged.size())] = static_cast<char>(below(256));
                bytes += damaged;
            }
        client.pipe.send(bytes);
    }
    EXPECT_EQ(witness.call(26, "deviceId=0"), list);
    EXPECT_EQ(witness.call(4), kOneDevice);
}

TEST(Hostile, ConnectionsComeAndGo)
{
    Service service;
    Client witness(service);
    std::vector<std::unique_ptr<Client>> open;
    for (int i = 0; i < 1500; i++) {
        auto client = std::make_unique<Client>(service, i % 3 == 0);
        if (i % 3 == 0)
            client->request(2, "queueId=4294967295");
        if (i % 3 == 1)
            client->pipe.send(Bytes(1, '\x82'));
        if (i % 5 == 0)
            open.push_back(std::move(client));
        if (open.size() > 100)
            open.clear();
    }
    EXPECT_EQ(witness.call(4), kOneDevice);
}

TEST(Hostile, AReaderThatNeverReadsBlocksOnlyItself)
{
    Service service;
    Client witness(service);
    Client silent(service);
    Bytes requests;
    for (int i = 0; i < 200; i++)
        requests += encodeRequest(5, encodeMap("deviceId=0"));
    // Until the service can't write another reply and takes no more requests.
    std::atomic<bool> isBlocked = false;
    std::thread sender([&] {
        try {
            for (int i = 0; i < 100000; i++)
                if (!silent.pipe.send(requests))
                    break;
        } catch (const std::exception &) {
        }
        isBlocked = true;
    });
    for (int i = 0; i < 100; i++)
        EXPECT_EQ(witness.call(5, "deviceId=0"), R"({"result":{"name":"Emulator"}})");
    service.kill();
    sender.join();
}

/// What one of many clients does, round and round, without an eye to the others.
void hammer(Service &service, unsigned seed, std::atomic<int> &failures)
{
    try {
        std::mt19937 random(seed);
        Client client(service);
        const uint64_t queue = client.result(0)["queueId"].number;
        for (int round = 0; round < 25; round++) {
            std::string answer;
            switch (random() % 9) {
            case 0: answer = client.call(26, "deviceId=0"); break;
            case 1: answer = client.call(50, "deviceId=3"); break;
            case 2: answer = client.call(3, concat("queueId=", queue)); break;
            case 3:
                if (client.call(55) != "{}" || client.call(56) != "{}")
                    failures++;
                continue;
            case 4: {
                const Value file = client.result(27, "deviceId=0 fileId=1 streamId=0");
                const std::string slot = concat("deviceId=0 openFileId=", file["openFileId"].text);
                client.call(30, slot + " frame=1");
                if (random() % 2 == 0)
                    answer = client.call(29, slot);
                else
                    continue;
                break;
            }
            case 5:
                // Other geometries, but never one that a recording would take for long.
                answer = client.call(41, concat("deviceId=0 port=0 width=", random() % 200, " height=",
                                                random() % 200, " pixelFormat=0 tapGeometry=0"));
                break;
            case 6:
                client.call(52, "deviceId=0 port=0");
                client.call(54, "deviceId=0 port=0");
                client.call(53, "deviceId=0 port=0");
                continue;
            case 7:
                client.call(42, "deviceId=0 portMask=1 externalTrigger=0 type=1 count=1 "
                                "usePretrigger=false pretriggerCount=0");
                client.call(43, "deviceId=0");
                continue;
            default: answer = client.call(35, "deviceId=0 port=0"); break;
            }
            if (answer.starts_with(R"({"error")"))
                failures++;
        }
    } catch (const std::exception &exception) {
        ADD_FAILURE() << exception.what();
    }
}

TEST(Hostile, ManyClientsAtOnceWhileOnePlaysBack)
{
    Service service;
    Client player(service);
    configure(player, 90, 11);
    record(player, 5);
    Region region(player.result(27, "deviceId=0 fileId=1 streamId=0")["mapping"].string);
    std::atomic<int> failures = 0;
    std::atomic<int> running = 64;
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 64; seed++)
        threads.emplace_back([&, seed] {
            hammer(service, seed, failures);
            running--;
        });
    for (uint64_t n = 0; running > 0; n = (n + 1) % 5) {
        EXPECT_EQ(player.call(30, concat("deviceId=0 openFileId=0 frame=", n)), "{}");
        EXPECT_EQ(region.bytes(1980), expectedFrame(n, 90, 11));
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(player.call(4), kOneDevice);
}

TEST(Hostile, GeometryChangesUnderOpenSlotsAndLiveView)
{
    Service service;
    Client player(service), watcher(service), changer(service);
    configure(player, 64, 8);
    record(player, 2);
    player.call(27, "deviceId=0 fileId=1 streamId=0");
    watcher.call(52, "deviceId=0 port=0");
    std::atomic<bool> isDone = false;
    std::thread changing([&] {
        for (uint32_t round = 0; round < 40; round++) {
            configure(changer, 1 + round * 1601 % 400, 1 + round * 77 % 50);
            if (round % 8 == 7) {
                changer.call(33, "deviceId=0");
                record(changer, 1);
            }
        }
        isDone = true;
    });
    while (!isDone) {
        player.call(30, "deviceId=0 openFileId=0 frame=0");
        player.call(28, "deviceId=0 openFileId=0");
        EXPECT_NE(watcher.call(54, "deviceId=0 port=0"), error("Live not started"));
    }
    changing.join();
    EXPECT_EQ(player.call(29, "deviceId=0 openFileId=0"), "{}");
}

} // namespace
} // namespace tavu::test
