#include "harness/emulator.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

namespace fs = std::filesystem;

const std::string kBadId = error("Invalid fileId");
const std::string kTrigger = "usePretrigger=false pretriggerCount=0";

/// 100 ns since 1601-01-01 UTC.
uint64_t presentTime()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return 116444736000000000 +
           std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch).count() / 100;
}

struct Entry
{
    std::string name;
    uint64_t id;
    uint32_t width, height;
    uint64_t frames, size, timestamp;
    std::string block = "";  ///< only in records
    std::string camera = "Cam";
};

/// In the order of a reply's entries, or of a record's.
std::string entryText(const Entry &entry, bool inRecord)
{
    return concat(R"({"name":")", entry.name, R"(","port":"Emu","camera":")", entry.camera,
                  R"(","fileId":)", entry.id, R"(,"streamId":0,"width":)", entry.width,
                  R"(,"height":)", entry.height, R"(,"numFrames":)", entry.frames,
                  R"(,"numDroppedFrames":0,"size":)", entry.size, R"(,"timestamp":)",
                  entry.timestamp, inRecord ? "" : R"(,"duration":0)",
                  R"(,"startTime":0,"endTime":0)", inRecord ? R"(,"duration":0)" : "",
                  inRecord && !entry.block.empty() ? R"(,"info":#)" + entry.block : "", '}');
}

std::string recordText(const std::string &entries)
{
    return R"({"orek":true,"type":"meta","version":0,"info":[)" + entries + "]}";
}

std::string listText(const std::string &entries) { return R"({"result":{"files":[)" + entries + "]}}"; }

std::vector<std::string> names(Client &client)
{
    std::vector<std::string> result;
    const Value files = client.result(26, "deviceId=0");
    for (const auto &[key, file] : files["files"].members)
        result.push_back(file["name"].string);
    return result;
}

TEST(Recording, IsListedAndStoredByteForByte)
{
    Service service;
    Client client(service);
    EXPECT_EQ(client.call(26, "deviceId=0"), listText(""));
    configure(client, 70, 3);
    const uint64_t before = presentTime();
    EXPECT_EQ(record(client, 3), 1u);
    const uint64_t after = presentTime();

    const uint64_t timestamp = client.result(26, "deviceId=0")["files"][""]["timestamp"].number;
    EXPECT_GE(timestamp, before);
    EXPECT_LE(timestamp, after);
    const Entry entry = {"1", 1, 70, 3, 3, 1260, timestamp, "0102"};
    EXPECT_EQ(client.call(26, "deviceId=0"), listText(entryText(entry, false)));
    EXPECT_EQ(decodeFile(service.emulatorFolder + "Emu/1.meta").text, recordText(entryText(entry, true)));

    const Value catalogue = decodeFile(service.emulatorFolder + ".files");
    const uint64_t started = catalogue["info"][""]["timestamp"].number;
    EXPECT_GE(started, before);
    EXPECT_LE(started, timestamp);
    EXPECT_EQ(catalogue.text, recordText(entryText({"1", 1, 70, 3, 3, 1260, started}, true)));
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".meta").text,
              R"({"orek":true,"type":"config","version":0,"config":[{"name":"Emu","pairedTo":"Cam",)"
              R"("width":70,"height":3,"pixelFormat":5,"tapGeometry":6,"numFramesPerPacket":3,)"
              R"("info":#0102}]})");
    EXPECT_EQ(client.call(32, "deviceId=0 fileId=1 streamId=9"), R"({"result":{"data":#0102}})");
    EXPECT_EQ(client.call(32, "deviceId=0 fileId=2 streamId=0"), kBadId);
    EXPECT_FALSE(fs::exists(service.emulatorFolder + "Emu/.incomplete"));
}

TEST(Recording, WritesRampsUnderClippedHeaders)
{
    Service service;
    Client client(service);
    const std::pair<uint32_t, uint32_t> geometries[] = {{4, 4}, {10, 3}, {63, 2}, {64, 1}, {1000, 70}};
    uint64_t id = 0;
    for (const auto &[width, height] : geometries) {
        configure(client, width, height);
        EXPECT_EQ(record(client, 2), ++id);
        EXPECT_EQ(readFile(concat(service.emulatorFolder, "Emu/", id)),
                  expectedFrame(0, width, height) + expectedFrame(1, width, height));
    }
}

TEST(Recording, EndsByItsLimit)
{
    Service service;
    Client client(service);
    configure(client, 8, 5);
    const struct
    {
        int type;
        uint64_t count, frames;
    } cases[] = {{1, 10, 10}, {1, 0, 1}, {2, 1000000, 32}, {2, 0, 1}};
    uint64_t id = 0;
    for (const auto &limit : cases) {
        EXPECT_EQ(client.call(42, concat("deviceId=0 portMask=1 externalTrigger=0 type=", limit.type,
                                         " count=", limit.count, ' ', kTrigger)),
                  "{}");
        EXPECT_EQ(client.call(46, "deviceId=0 port=0"),
                  concat(R"({"result":{"fileId":)", ++id, R"(,"streamId":0}})"));
        EXPECT_TRUE(waitUntil(
            [&] { return client.call(45, "deviceId=0") == R"({"result":{"done":true}})"; }));
        EXPECT_EQ(client.call(47, "deviceId=0 port=0"),
                  concat(R"({"result":{"numFrames":)", limit.frames, R"(,"inPretrigger":false}})"));
        EXPECT_EQ(client.call(42, "deviceId=0 portMask=1 externalTrigger=0 type=1 count=1 " + kTrigger),
                  error("Already recording"));
        EXPECT_EQ(client.call(43, "deviceId=0"), "{}");
        EXPECT_EQ(client.call(43, "deviceId=0"), error("Not recording"));
        Bytes expected;
        for (uint64_t n = 0; n < limit.frames; n++)
            expected += expectedFrame(n, 8, 5);
        EXPECT_EQ(readFile(concat(service.emulatorFolder, "Emu/", id)), expected);
    }
}

TEST(Recording, IsRefusedWithTheTextOfTheFirstFault)
{
    Service service;
    Client client(service);
    const auto start = [&](int portMask, int externalTrigger) {
        return client.call(42, concat("deviceId=0 portMask=", portMask, " externalTrigger=",
                                      externalTrigger, " type=1 count=1 ", kTrigger));
    };
    const std::string notReady = error("Not paired/configured.");
    EXPECT_EQ(client.call(46, "deviceId=0 port=0"),
              R"({"result":{"fileId":4294967295,"streamId":0}})");
    EXPECT_EQ(client.call(45, "deviceId=0"), R"({"result":{"done":false}})");
    EXPECT_EQ(start(0, 1), error("Invalid port mask"));
    EXPECT_EQ(start(3, 0), error("Invalid port mask"));
    EXPECT_EQ(start(1, 0), notReady);
    EXPECT_EQ(start(1, 3), "{}");
    EXPECT_EQ(start(1, 2), "{}");
    EXPECT_EQ(start(1, 4), notReady);
    client.call(41, "deviceId=0 port=0 width=4 height=4 pixelFormat=0 tapGeometry=0");
    EXPECT_EQ(start(1, 0), notReady);
    client.call(34, "deviceId=0 port=0 identity='' info=#01 numFramesPerPacket=1");
    EXPECT_EQ(start(1, 0), notReady);
    configure(client, 4, 0);
    EXPECT_EQ(start(1, 0), notReady);
    configure(client, 4, 4);
    client.call(37, "deviceId=0 port=0");
    EXPECT_EQ(start(1, 0), notReady);
    EXPECT_EQ(client.call(43, "deviceId=0"), error("Not recording"));
    const std::string text = "Not paired/configured.\n";
    const std::string expected = "Invalid port mask\nInvalid port mask\n" + text + text + text + text + text + text;
    EXPECT_EQ(service.errors(), expected);
    EXPECT_TRUE(waitUntil([&] {
        const std::string output = service.output();
        return std::count(output.begin(), output.end(), '\n') == 9;
    })) << service.output();
}

TEST(Recording, RunsOnWithoutItsClient)
{
    Service service;
    Client witness(service);
    configure(witness, 4, 4);
    {
        Client client(service);
        startRecording(client, std::nullopt);
    }
    const auto frames = [&] { return witness.result(47, "deviceId=0 port=0")["numFrames"].number; };
    const uint64_t before = frames();
    EXPECT_TRUE(waitUntil([&] { return frames() > before + 2; }));
    EXPECT_EQ(witness.call(7, "deviceId=0"), R"({"result":{"hasIncompleteFile":true}})");
    // While it runs, the catalogue on disk has it without frames.
    const Value catalogue = decodeFile(service.emulatorFolder + ".files");
    EXPECT_EQ(catalogue["info"][""]["name"].string, ".incomplete");
    EXPECT_EQ(catalogue["info"][""]["numFrames"].text, "0");
    EXPECT_EQ(witness.call(27, "deviceId=0 fileId=1 streamId=0"), kBadId);
    EXPECT_EQ(names(witness), std::vector<std::string>());
    EXPECT_EQ(witness.call(43, "deviceId=0"), "{}");
    EXPECT_EQ(names(witness), std::vector<std::string>{"1"});
    EXPECT_EQ(witness.call(7, "deviceId=0"), R"({"result":{"hasIncompleteFile":false}})");
}

TEST(Recording, KeepsItsFrameSizeWhenTheGeometryChanges)
{
    Service service;
    Client client(service);
    configure(client, 100, 4);
    startRecording(client, std::nullopt);
    for (const uint32_t width : {1u, 65535u, 0u, 10u})
        configure(client, width, 65535);
    EXPECT_EQ(client.call(43, "deviceId=0"), "{}");
    const Bytes frames = readFile(service.emulatorFolder + "Emu/1");
    ASSERT_GE(frames.size(), 800u);
    EXPECT_EQ(frames.size() % 800, 0u);
    EXPECT_EQ(frames.substr(126, 800 - 126), expectedFrame(0, 100, 4).substr(126));
    const Value file = client.result(26, "deviceId=0")["files"][""];
    EXPECT_EQ(file["width"].text, "100");
    EXPECT_EQ(file["numFrames"].number, frames.size() / 800);
}

TEST(Recording, WrapsASizeOfTwoGigabytes)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    startRecording(client, std::nullopt);
    fs::resize_file(service.emulatorFolder + "Emu/.incomplete", uint64_t(3) << 30);
    EXPECT_EQ(client.call(43, "deviceId=0"), "{}");
    const Value file = client.result(26, "deviceId=0")["files"][""];
    EXPECT_EQ(file["size"].text, "18446744072635809792");
    EXPECT_EQ(file["numFrames"].text, "576460752269869056");
}

TEST(Catalogue, GivesAndSettlesNames)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    for (uint64_t id = 1; id <= 3; id++)
        EXPECT_EQ(record(client, 1), id);
    const auto setInfo = [&](uint64_t id, const std::string &name) {
        return client.result(49, concat("deviceId=0 fileId=", id, " streamId=0 name='", name,
                                        "' width=7 height=8 numImages=9 numDroppedFrames=10 "
                                        "startTime=11 endTime=12 duration=13 notify=false"))["name"]
            .string;
    };
    EXPECT_EQ(setInfo(1, "a"), "a");
    EXPECT_EQ(setInfo(1, "a"), "a(1)");
    EXPECT_EQ(setInfo(2, "a"), "a");
    EXPECT_EQ(setInfo(3, "a"), "a(2)");
    EXPECT_EQ(setInfo(3, "a"), "a(3)");
    EXPECT_EQ(setInfo(3, ""), "");
    EXPECT_EQ(client.call(48, "deviceId=0 fileId=3 streamId=0 name='a' notify=false"), "{}");
    EXPECT_EQ(names(client), (std::vector<std::string>{"a(1)", "a", "a"}));
    EXPECT_EQ(client.call(49, "deviceId=0 fileId=4 streamId=0 name='a' width=1 height=1 numImages=1 "
                              "numDroppedFrames=0 duration=1 notify=true"),
              kBadId);
    EXPECT_EQ(client.call(49, "deviceId=0 fileId=1 streamId=0 name='a' width=1 height=1 numFrames=1 "
                              "numDroppedFrames=0 duration=1 notify=true"),
              error("Key not found in map."));

    const Value stored = decodeFile(service.emulatorFolder + "Emu/2.meta")["info"][""];
    const Value listed = client.result(26, "deviceId=0")["files"].members[1].second;
    for (const char *key : {"name", "port", "camera", "fileId", "streamId", "width", "height", "numFrames",
                            "numDroppedFrames", "size", "timestamp", "startTime", "endTime", "duration"})
        EXPECT_EQ(stored[key].text, listed[key].text);
    const std::string values = concat(listed["width"].text, listed["height"].text, listed["numFrames"].text,
                                      listed["numDroppedFrames"].text, listed["startTime"].text,
                                      listed["endTime"].text, listed["duration"].text);
    EXPECT_EQ(values, "78910111213");
    // The catalogue keeps what was really recorded.
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".files")["info"].members[1].second["width"].text, "4");

    client.call(49, "deviceId=0 fileId=2 streamId=0 name='b' width=1 height=1 numImages=1 "
                    "numDroppedFrames=0 duration=1 notify=false");
    const Value defaulted = client.result(26, "deviceId=0")["files"].members[1].second;
    EXPECT_EQ(defaulted["startTime"].text + defaulted["endTime"].text, "00");
}

TEST(Catalogue, RemovesFilesAndReusesTheHighestId)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    for (uint64_t id = 1; id <= 3; id++)
        record(client, 1);
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=2 streamId=0"), "{}");
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=2 streamId=0"), kBadId);
    EXPECT_EQ(names(client), (std::vector<std::string>{"1", "3"}));
    EXPECT_FALSE(fs::exists(service.emulatorFolder + "Emu/2"));
    EXPECT_FALSE(fs::exists(service.emulatorFolder + "Emu/2.meta"));
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".files")["info"].members.size(), 2u);
    EXPECT_EQ(record(client, 1), 4u);
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=4 streamId=0"), "{}");
    EXPECT_EQ(record(client, 1), 4u);
}

TEST(Catalogue, SurvivesARestart)
{
    Service service;
    std::string list;
    {
        Client client(service);
        configure(client, 20, 10);
        record(client, 2);
        record(client, 1);
        client.call(48, "deviceId=0 fileId=1 streamId=0 name='Änderung' notify=false");
        list = client.call(26, "deviceId=0");
        EXPECT_NE(list.find("Änderung"), std::string::npos);
    }
    EXPECT_EQ(service.waitForExit(), 0);
    service.start();
    Client client(service);
    EXPECT_EQ(client.call(26, "deviceId=0"), list);
    EXPECT_EQ(client.call(35, "deviceId=0 port=0"), R"({"result":{"pairedTo":"Cam"}})");
    EXPECT_EQ(client.call(38, "deviceId=0 port=0"), R"({"result":{"data":#0102}})");
    EXPECT_EQ(client.call(39, "deviceId=0 port=0"), R"({"result":{"numFramesPerPacket":3}})");
    EXPECT_EQ(client.call(40, "deviceId=0 port=0"),
              R"({"result":{"width":20,"height":10,"pixelFormat":5,"tapGeometry":6}})");
    EXPECT_EQ(client.call(32, "deviceId=0 fileId=2 streamId=0"), R"({"result":{"data":#0102}})");
    EXPECT_EQ(record(client, 1), 3u);
}

TEST(Catalogue, SetupKeepsTheVisibleListUntilTheNextStart)
{
    Service service;
    {
        Client client(service);
        configure(client, 4, 4);
        record(client, 1);
        record(client, 1);
        EXPECT_EQ(client.call(33, "deviceId=0"), "{}");
        EXPECT_EQ(names(client), (std::vector<std::string>{"1", "2"}));
        for (const uint64_t ordinal : {27, 31})
            EXPECT_EQ(client.call(ordinal, "deviceId=0 fileId=1 streamId=0"), kBadId);
        EXPECT_EQ(client.call(48, "deviceId=0 fileId=1 streamId=0 name='x' notify=true"), kBadId);
        EXPECT_EQ(client.call(32, "deviceId=0 fileId=1 streamId=0"), R"({"result":{"data":#0102}})");
        EXPECT_FALSE(fs::exists(service.emulatorFolder + ".files"));
        EXPECT_TRUE(fs::exists(service.emulatorFolder + ".meta"));
    }
    EXPECT_EQ(service.waitForExit(), 0);
    service.start();
    Client client(service);
    EXPECT_EQ(names(client), std::vector<std::string>());
    EXPECT_EQ(client.call(35, "deviceId=0 port=0"), R"({"result":{"pairedTo":"Cam"}})");
    EXPECT_EQ(record(client, 1), 1u);
}

TEST(Pairing, FollowsItsRules)
{
    Service service;
    Client client(service);
    const auto pair = [&](int ordinal, const char *identity, const char *block) {
        return client.call(ordinal, concat("deviceId=0 port=0 identity='", identity, "' info=#", block,
                                           " numFramesPerPacket=65536"));
    };
    const auto block = [&] { return client.result(38, "deviceId=0 port=0")["data"].text; };
    EXPECT_EQ(pair(36, "a", "01"), error("Not paried to this camera"));
    EXPECT_EQ(pair(34, "a", "01"), "{}");
    EXPECT_EQ(pair(34, "b", "02"), "{}");
    EXPECT_EQ(pair(36, "a", "03"), error("Not paried to this camera"));
    EXPECT_EQ(block(), "#02");
    EXPECT_EQ(pair(36, "b", "03"), "{}");
    EXPECT_EQ(block(), "#03");
    EXPECT_EQ(client.call(39, "deviceId=0 port=0"), R"({"result":{"numFramesPerPacket":0}})");
    client.call(41, "deviceId=0 port=0 width=5 height=6 pixelFormat=7 tapGeometry=8");
    EXPECT_EQ(client.call(37, "deviceId=0 port=0"), "{}");
    EXPECT_EQ(block(), "#");
    EXPECT_EQ(client.call(35, "deviceId=0 port=0"), R"({"result":{"pairedTo":""}})");
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".meta")["config"].text,
              R"([{"name":"Emu","pairedTo":"","width":5,"height":6,"pixelFormat":7,"tapGeometry":8,)"
              R"("numFramesPerPacket":0}])");
    std::string large;
    for (int i = 0; i < 70000; i++)
        large += "7F";
    EXPECT_EQ(pair(34, "c", large.c_str()), "{}");
    EXPECT_EQ(block(), '#' + large);
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".meta")["config"][""]["info"].text, '#' + large);
}

} // namespace
} // namespace tavu::test
