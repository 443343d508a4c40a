#include "harness/emulator.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

namespace fs = std::filesystem;

const std::string kBadId = error("Invalid fileId");

std::string incomplete(bool expected)
{
    return concat(R"({"result":{"hasIncompleteFile":)", expected ? "true" : "false", "}}");
}

std::vector<std::string> names(Client &client)
{
    std::vector<std::string> result;
    const Value files = client.result(26, "deviceId=0");
    for (const auto &[key, file] : files["files"].members)
        result.push_back(file["name"].string);
    return result;
}

Bytes arrayOf(const std::vector<std::string> &maps)
{
    Bytes bytes(1, static_cast<char>(0x90 + maps.size()));
    for (const std::string &map : maps)
        bytes += encodeMap(map);
    return bytes;
}

TEST(Recovery, EndsInErrorsThatHurtNothing)
{
    Service service;
    Client client(service);
    const auto isError = [&](uint64_t ordinal) {
        return client.call(ordinal, "deviceId=0").starts_with(R"({"error":")");
    };
    for (int round = 0; round < 3; round++) {
        EXPECT_TRUE(isError(9));
        EXPECT_TRUE(isError(11));
        EXPECT_TRUE(isError(13)) << "on a device without a geometry";
        EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(false));
        EXPECT_EQ(client.call(8, "deviceId=0"), "{}");
    }
    const std::pair<uint32_t, uint32_t> geometries[] = {{4, 4}, {32768, 65535}, {65535, 65535}};
    for (const auto &[width, height] : geometries) {
        configure(client, width, height);
        EXPECT_EQ(client.call(13, "deviceId=0"), error("eof"));
        EXPECT_EQ(fs::file_size(service.emulatorFolder + "Emu/4294967295.meta"), 0u);
        EXPECT_EQ(names(client), std::vector<std::string>());
        EXPECT_FALSE(fs::exists(service.emulatorFolder + ".files"));
    }
    writeFile(service.emulatorFolder + "Emu/.incomplete", Bytes(100, 'x'));
    EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(true));
    EXPECT_TRUE(isError(9));
    EXPECT_TRUE(isError(11));
    EXPECT_EQ(client.call(8, "deviceId=0"), "{}");
    EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(false));
}

TEST(Recovery, AFolderIsNoIncompleteFile)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    fs::create_directories(service.emulatorFolder + "Emu/.incomplete");
    EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(false));
    EXPECT_EQ(client.call(42, "deviceId=0 portMask=1 externalTrigger=0 type=1 count=1 "
                              "usePretrigger=false pretriggerCount=0"),
              error("Failed to create file"));
    EXPECT_EQ(service.errors(), "Failed to create file\n");
    EXPECT_EQ(client.call(43, "deviceId=0"), error("Not recording"));
    EXPECT_EQ(client.call(8, "deviceId=0"), "{}");
    EXPECT_TRUE(fs::is_directory(service.emulatorFolder + "Emu/.incomplete"));
    fs::remove(service.emulatorFolder + "Emu/.incomplete");
    EXPECT_EQ(record(client, 1), 1u);
}

TEST(Recovery, AKilledRecordingCanBeDiscarded)
{
    Service service;
    for (const uint64_t kept : {0, 1}) {
        SCOPED_TRACE(kept);
        const std::vector<std::string> before(kept, "1");
        {
            Client client(service);
            configure(client, 50, 50);
            startRecording(client, std::nullopt);
            EXPECT_TRUE(waitUntil(
                [&] { return client.result(47, "deviceId=0 port=0")["numFrames"].number > 2; }));
            service.kill();
        }
        service.start();
        {
            Client client(service);
            EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(true));
            EXPECT_EQ(names(client), before);
            EXPECT_EQ(client.call(46, "deviceId=0 port=0"),
                      R"({"result":{"fileId":4294967295,"streamId":0}})");
            EXPECT_EQ(client.call(43, "deviceId=0"), error("Not recording"));
            if (kept == 0) {
                EXPECT_EQ(client.call(8, "deviceId=0"), "{}");
                EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(false));
            }
            // The id of the cut-off recording is free again, and its file is cut off at a start.
            EXPECT_EQ(record(client, 1), kept + 1);
            EXPECT_EQ(readFile(concat(service.emulatorFolder, "Emu/", kept + 1)),
                      expectedFrame(0, 50, 50));
            EXPECT_EQ(client.call(7, "deviceId=0"), incomplete(false));
        }
        EXPECT_EQ(service.waitForExit(), 0);
        service.start();
    }
}

TEST(Recovery, AKillLeavesNoHalfWrittenRecord)
{
    Service service;
    const std::vector<std::string> expected = {std::string(3000, 'a'), std::string(500, 'b')};
    {
        Client client(service);
        configure(client, 4, 4);
        record(client, 1);
        client.call(48, "deviceId=0 fileId=1 streamId=0 name='" + expected[0] + "' notify=false");
    }
    EXPECT_EQ(service.waitForExit(), 0);
    for (int round = 0; round < 12; round++) {
        service.start();
        Client client(service);
        const std::vector<std::string> found = names(client);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_TRUE(found == std::vector(1, expected[0]) || found == std::vector(1, expected[1]));
        EXPECT_EQ(client.call(35, "deviceId=0 port=0"), R"({"result":{"pairedTo":"Cam"}})");
        for (int i = 0; i < 20; i++) {
            client.request(48, "deviceId=0 fileId=1 streamId=0 name='" +
                                   expected[static_cast<size_t>(i % 2)] + "' notify=false");
            client.request(41, "deviceId=0 port=0 width=4 height=4 pixelFormat=0 tapGeometry=0");
        }
        for (int i = 0; i <= round * 3; i++)
            EXPECT_EQ(client.reply().text, "{}");
        service.kill();
    }
}

TEST(Storage, AFolderThatCannotBeWrittenIsTold)
{
    TemporaryFolder blocked;
    writeFile(blocked.path + "/data", "a file where the folder should be");
    Service service({.arguments = {}, .environment = {{"XDG_DATA_HOME", blocked.path + "/data"}}});
    Client client(service);
    const std::string failure =
        error("Failed to open file: " + blocked.path + "/data/OREK Systems/TAVU/Emulator/.meta");
    EXPECT_EQ(client.call(41, "deviceId=0 port=0 width=4 height=4 pixelFormat=5 tapGeometry=6"), failure);
    EXPECT_EQ(client.call(34, "deviceId=0 port=0 identity='a' info=#01 numFramesPerPacket=1"), failure);
    EXPECT_EQ(client.call(0), R"({"result":{"queueId":0}})");
    EXPECT_EQ(client.call(37, "deviceId=0 port=0"), failure);
    EXPECT_EQ(client.call(3, "queueId=0"), R"({"result":{"ok":false}})");
    EXPECT_EQ(client.call(40, "deviceId=0 port=0"),
              R"({"result":{"width":4,"height":4,"pixelFormat":5,"tapGeometry":6}})");
    EXPECT_EQ(client.call(26, "deviceId=0"), R"({"result":{"files":[]}})");
}

TEST(Storage, ReadsRecordsWithKeysInAnyOrder)
{
    Service service;
    Client(service, false);
    EXPECT_EQ(service.waitForExit(), 0);
    const std::string folder = service.emulatorFolder;
    const std::string tail = " port='Emu' width=4 height=4 numFrames=2";
    writeFile(folder + ".files",
              encodeRecord("meta", "info",
                           arrayOf({"x=!818101C0 numFrames=1 height=1 fileId=8 width=65537 fileId=9 "
                                    "y=#0102 port='Emu' name='9'",
                                    "name='10' fileId=10" + tail, "name='11' fileId=11" + tail,
                                    "name='12' fileId=12 port='Emu' width=4 height=4 numFrames=0",
                                    "name='' fileId=13" + tail})) +
                  "rest that nobody reads");
    writeFile(folder + "Emu/9.meta",
              encodeRecord("meta", "info",
                           arrayOf({"numFrames=1 width=1 fileId=9 name='nine' height=1 z=!C0"})));
    writeFile(folder + "Emu/11.meta",
              encodeRecord("meta", "info", arrayOf({"name='eleven' fileId=11 timestamp=5 info=#07" + tail})));
    writeFile(folder + "Emu/9", "ab");
    writeFile(folder + "Emu/11", expectedFrame(0, 4, 4) + expectedFrame(1, 4, 4));
    writeFile(folder + ".meta",
              encodeRecord("config", "config",
                           arrayOf({"tapGeometry=4 width=3 name='Emu' extra=!9190 height=4 pixelFormat=2",
                                    "name='Other' pairedTo='x' width=9 height=9 pixelFormat=9",
                                    "name='Emu' pairedTo='x' width=8 height=8"})));
    service.start();
    Client client(service);
    EXPECT_EQ(names(client), (std::vector<std::string>{"nine", "eleven"}));
    const auto &files = client.result(26, "deviceId=0")["files"].members;
    EXPECT_EQ(files[0].second["size"].text, "2");
    EXPECT_GT(files[0].second["timestamp"].number, 133000000000000000u);
    EXPECT_EQ(files[1].second["timestamp"].text, "5");
    EXPECT_EQ(client.call(32, "deviceId=0 fileId=11 streamId=0"), R"({"result":{"data":#07}})");
    EXPECT_EQ(client.call(27, "deviceId=0 fileId=10 streamId=0"), kBadId);
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=12 streamId=0"), kBadId);
    Region region(client.result(27, "deviceId=0 fileId=11 streamId=0")["mapping"].string);
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=1"), "{}");
    EXPECT_EQ(region.bytes(32), expectedFrame(1, 4, 4));
    // An element of four pairs ends the reading; what came before it counts.
    EXPECT_EQ(client.call(40, "deviceId=0 port=0"),
              R"({"result":{"width":3,"height":4,"pixelFormat":2,"tapGeometry":4}})");
    EXPECT_EQ(client.call(35, "deviceId=0 port=0"), R"({"result":{"pairedTo":""}})");
    configure(client, 4, 4);
    EXPECT_EQ(record(client, 1), 12u);
}

TEST(Storage, StartsEmptyFromABadRecord)
{
    const Bytes element = arrayOf({"name='1' fileId=1 port='Emu' width=4 height=4 numFrames=2"});
    const Bytes good = encodeRecord("meta", "info", element);
    const Bytes badRecords[] = {
        "",
        good.substr(0, good.size() - 1),
        fromHex("C1"),
        Bytes(100000, '\x91'),
        encodeMap("orek=true type='meta' version=1 info=!" "90"),
        encodeMap("type='meta' orek=true version=0 info=!" "90"),
        encodeRecord("config", "info", element),
        encodeRecord("meta", "infos", element),
        encodeRecord("meta", "info", fromHex("DDFFFFFFFF") + element.substr(1)),
        encodeRecord("meta", "info", fromHex("91DBFFFFFFF0")),
        encodeRecord("meta", "info", fromHex("9181A46E616D6505")),
    };
    Service service;
    for (const Bytes &bad : badRecords) {
        SCOPED_TRACE(&bad - badRecords);
        Client(service, false);
        EXPECT_EQ(service.waitForExit(), 0);
        writeFile(service.emulatorFolder + ".files", bad);
        writeFile(service.emulatorFolder + ".meta", bad);
        writeFile(service.emulatorFolder + "Emu/1.meta", good);
        service.start();
        Client client(service);
        EXPECT_EQ(client.call(26, "deviceId=0"), R"({"result":{"files":[]}})");
        EXPECT_EQ(client.call(40, "deviceId=0 port=0"),
                  R"({"result":{"width":0,"height":0,"pixelFormat":0,"tapGeometry":0}})");
    }
}

} // namespace
} // namespace tavu::test
