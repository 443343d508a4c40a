// Recorders as they come and go, and what a client can ask and set up.

#include "harness/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(Recorder, TypeNumbersTellFamilyAndLink)
{
    const struct
    {
        uint32_t type, family;
        bool isCxp;
    } cases[] = {{0, 0, false},  {1, 2, false},  {14, 2, false}, {15, 2, true},   {17, 2, true},
                 {18, 0, false}, {20, 2, false}, {64, 3, false}, {67, 3, false},  {68, 0, false},
                 {70, 3, true},  {71, 3, true},  {72, 3, false}, {150, 2, false}, {151, 2, false}};
    Lab lab;
    for (const auto &item : cases)
        lab.describe(concat("r", 100 + item.type), concat("device type = ", item.type));
    const Service service({}, lab.path());
    Client client;
    for (uint32_t i = 0; i < std::size(cases); i++) {
        const std::string device = concat("deviceId=", i);
        EXPECT_EQ(client.result(5, device)["name"].string, concat("r", 100 + cases[i].type));
        EXPECT_EQ(client.result(57, device)["hardwareType"].number, cases[i].family);
        EXPECT_EQ(client.result(23, device)["isCxp"].text, cases[i].isCxp ? "true" : "false");
    }
}

TEST(Recorder, WithoutADriveSetSaysSoInBothForms)
{
    Lab lab;
    lab.describe("bench", "ports = 2\ndrives = 2\n");
    Service service({}, lab.path());
    Script().play(R"(
        A 4 -> {"count":1}
        A 6 D -> {"connected":true}
        A 24 D -> {"count":2}
        A 25 D port=1 -> {"name":"Port 2"}
        A 25 D port=2 -> !Invalid port index.
        A 26 D -> {"files":[]}
        A 51 D -> !No drive set.
        A 42 D portMask=0 externalTrigger=0 type=0 count=0 usePretrigger=false pretriggerCount=0 -> !At least one port must be enabled for record.
        A 42 D portMask=4 externalTrigger=0 type=0 count=0 usePretrigger=false pretriggerCount=0 -> !Invalid port mask.
        A 42 D portMask=1 externalTrigger=0 type=0 count=0 usePretrigger=false pretriggerCount=0 -> !No drive set.
        A 7 D -> !no drive set.
        A 8 D -> !no drive set.
        A 9 D -> !no drive set.
        A 10 D -> !Recovery not in progress.
        A 11 D -> {"status":0}
        A 13 D -> !no incomplete file.
        A 31 D fileId=1 streamId=1 -> !no drive set.
        A 34 P identity='Cam' info=#01 numFramesPerPacket=7 -> !no drive set.
        A 35 P -> {"pairedTo":"Cam"}
        A 39 P -> {"numFramesPerPacket":7}
        A 36 P identity='cam' info=#02 numFramesPerPacket=8 -> !Not paired to this camera.
        A 38 P -> {"data":#01}
        A 38 D port=1 -> !no drive set.
        A 41 P width=64 height=48 pixelFormat=5 tapGeometry=6 -> ok
        A 51 D -> {"percent":0}
        A 37 P -> ok
        A 35 P -> {"pairedTo":""}
        A 40 P -> {"width":64,"height":48,"pixelFormat":5,"tapGeometry":6}
        A 38 P -> !There is no file 0.
    )");
    EXPECT_NE(service.errors().find("no drive set.\n"), std::string::npos);
    EXPECT_NE(service.output().find("Caught exception: no drive set.\n"), std::string::npos);
}

TEST(Recorder, VirtualDevicesCanNeitherRecordNorBeSetUp)
{
    Lab lab;
    lab.describe("bench", "virtual = yes\ndrive sets = 2");
    const Service service({}, lab.path());
    Script().play(R"(
        A 42 D portMask=2 externalTrigger=0 type=0 count=0 usePretrigger=false pretriggerCount=0 -> !Invalid port mask.
        A 42 D portMask=1 externalTrigger=0 type=0 count=0 usePretrigger=false pretriggerCount=0 -> !Virtual devices cannot record.
        A 43 D -> !Virtual devices cannot record.
        A 44 D -> !Virtual devices cannot record.
        A 45 D -> {"done":true}
        A 47 P -> !Virtual devices cannot record.
        A 47 D port=1 -> !Invalid port index.
        A 33 D -> !Cannot call setup on virtual devices.
        A 41 P width=0 height=0 pixelFormat=0 tapGeometry=0 -> !Virtual devices cannot be configured.
    )");
}

TEST(Recorder, DescribesItsPortsFieldByField)
{
    // The frame that a port delivers shows what its descriptor says.
    const struct
    {
        const char *recorder, *port;
        uint32_t tapGeometry, width;
    } cases[] = {{"15", "", 0, 1000}, {"15", "link mode = 2", 0, 1000},
                 {"70", "", 0, 1000}, {"1", "", 0, 1000},
                 {"1", "", 1, 1000},  {"1", "", 10, 999},
                 {"1", "", 19, 1000}};
    Lab lab;
    for (size_t i = 0; i < std::size(cases); i++)
        lab.describe(concat("r", i),
                     concat("device type = ", cases[i].recorder,
                            "\ndrive sets = 1\n[ports]\nframe rate = 200\n", cases[i].port));
    const Service service({}, lab.path());
    Client client;
    for (size_t i = 0; i < std::size(cases); i++) {
        const std::string port = concat("deviceId=", i, " port=0");
        EXPECT_EQ(client.call(41, concat(port, " width=1000 height=3 pixelFormat=0 tapGeometry=",
                                         cases[i].tapGeometry)),
                  "{}");
        client.result(52, port);
        EXPECT_EQ(client.result(54, port)["width"].number, cases[i].width) << i;
    }
}

TEST(Recorder, ComesAndGoesWhileClientsWork)
{
    Lab lab;
    const std::string description = "ports = 2\ndrive sets = 1\n[ports]\nframe rate = 200";
    lab.describe("a", description);
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 16, 4);
    recordFrames(client, 1, 5);
    const std::string files = client.result(26, "D").text;
    EXPECT_EQ(client.result(0, "").text, R"({"queueId":0})");
    const auto waitForChange = [&] {
        return waitUntil(
            [&] { return client.result(2, "queueId=0")["event"]["type"].number == 1; });
    };

    lab.describe("b", description);
    EXPECT_TRUE(waitForChange());
    EXPECT_EQ(client.result(4)["count"].number, 2u);
    // Pulled out in mid-recording: what was listed goes, the port table stays.
    EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
    lab.remove("a");
    EXPECT_TRUE(waitForChange());
    Script script;
    script.play(R"(
        A 6 D -> {"connected":false}
        A 26 D -> {"files":[]}
        A 35 P -> {"pairedTo":"Cam 0"}
        A 24 D -> {"count":2}
        A 47 P -> !a is not connected.
        A 24 deviceId=1 -> {"count":2}
    )");
    lab.describe("a", description);
    EXPECT_TRUE(waitForChange());
    script.play(R"(
        A 6 D -> {"connected":true}
        A 43 D -> ok
        A 4 -> {"count":2}
    )");
    EXPECT_EQ(client.result(26, "D").text, files);
    EXPECT_EQ(client.result(7, "D").text, R"({"hasIncompleteFile":true})");
}

TEST(Recorder, AFaultOfTheLibraryAtItsStartLeavesNone)
{
    for (const char *fault :
         {"Instance::initialize 1 raise x", "Instance::deviceCollection 1 raise x",
          "Instance::initialize 1 empty", "DeviceCollection::registerChangeCallback 1 raise x",
          "DeviceCollection::count 1 raise x", "Instance::deviceCollection 1 empty"}) {
        Lab lab;
        lab.describe("a", "");
        writeFile(lab.file("faults.conf"), fault);
        const Service service({}, lab.path());
        EXPECT_EQ(Client().result(4)["count"].number, 0u) << fault;
    }
    Lab lab;
    lab.describe("a", "");
    writeFile(lab.file("library.conf"), "version = 2.1.0.39");
    const Service service({}, lab.path());
    EXPECT_EQ(Client().result(4)["count"].number, 0u);
}

TEST(Recorder, PairingBlocksLieWhereTheirSizeSays)
{
    Lab lab;
    lab.describe("bench", "ports = 3\ndrives = 2\ncluster size = 512K\ndrive sets = 1");
    Service service({}, lab.path());
    const uint32_t sizes[] = {16384, 16385, 33 << 20};
    const auto block = [&](uint32_t port) { return Bytes(sizes[port], char('a' + port)); };
    const auto pair = [&](Client &client, uint64_t ordinal, uint32_t port) {
        std::vector<Field> fields =
            parseFields(concat("D port=", port, " identity='Cam' info=# numFramesPerPacket=4"));
        Bytes head = fromHex("C6 00000000");
        for (int i = 0; i < 4; i++)
            head[4 - i] = static_cast<char>(sizes[port] >> 8 * i);
        if (sizes[port] < 65536)
            head = head.replace(0, 3, fromHex("C5"));
        fields[3].encoded = head + block(port);
        client.send(encodeRequest(ordinal, encodeMap(fields)));
        return client.reply().text;
    };
    const auto identity = [](Client &client, uint32_t port) {
        client.request(38, concat("D port=", port));
        return client.reply()["result"]["data"].string;
    };
    {
        Client client;
        for (uint32_t port = 0; port < 3; port++) {
            EXPECT_EQ(pair(client, 34, port), "{}");
            if (port < 2) {
                EXPECT_EQ(pair(client, 36, port), "{}");
            }
        }
        // Sizes in stripes of a mebibyte: the record file, and two pairing files that grew by
        // steps.
        const std::pair<const char *, uint32_t> files[] = {{"1", 2}, {"2", 32}, {"3", 40}};
        for (const auto &[id, stripes] : files) {
            const std::string text = readLines(lab.file(concat("bench/sets/1/", id, ".file")));
            EXPECT_NE(text.find(concat("+", stripes)), std::string::npos) << text;
        }
    }
    EXPECT_EQ(service.waitForExit(), 0);
    service.start();
    Client client;
    for (uint32_t port = 0; port < 2; port++) {
        EXPECT_EQ(client.result(35, concat("D port=", port)).text, R"({"pairedTo":"Cam"})");
        EXPECT_TRUE(identity(client, port) == block(port)) << port;
    }
}

} // namespace
} // namespace tavu::test
