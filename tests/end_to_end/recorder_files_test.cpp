// What recordings leave on a recorder's drives, and what can be done with them.

#include "harness/recording.h"
#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

constexpr const char *kBench = "ports = 3\ndrives = 3\ndrive sets = 1\n[ports]\nframe rate = 500\n";

/// The record at the head of a drive file's metadata block.
std::string metadata(const Lab &lab, uint64_t fileId)
{
    return decode(readFile(lab.folder.path / concat("bench/sets/1/", fileId, ".meta"))).text;
}

std::string entryHead(uint32_t port, uint64_t file, uint64_t stream, const std::string &camera)
{
    return concat(R"({"name":")", file, "-", stream, R"(","port":"Port )", port + 1,
                  R"(","camera":")", camera, R"(","fileId":)", file, R"(,"streamId":)", stream,
                  R"(,"width":70,"height":3,"numFrames":6,"numDroppedFrames":0,"size":2520,)",
                  R"("timestamp":)");
}

void expectFrames(Client &client, uint32_t port, uint64_t file, uint64_t stream, uint64_t count)
{
    const Value opened = client.result("openFile", concat("D fileId=", file, " streamId=", stream));
    const std::string id = concat("D openFileId=", opened["openFileId"].number);
    EXPECT_EQ(client.result("fileInfo", id).text,
              concat(R"({"width":70,"height":3,"imageSize":420,"numFrames":)", count, R"(,"size":)",
                     420 * count, "}"));
    const Region region(opened);
    for (uint64_t i = count; i-- > 0;) {
        EXPECT_EQ(client.call("readFrame", concat(id, " frame=", i)), "{}");
        EXPECT_TRUE(region.bytes(420) == simulatedFrame(port, i, 70, 3)) << port << ", " << i;
    }
    EXPECT_EQ(client.call("readFrame", concat(id, " frame=", count)),
              error("Failed to read file."));
    EXPECT_EQ(client.call("closeFile", id), "{}");
    EXPECT_EQ(client.call("closeFile", id), error("File not opened by this connection."));
}

TEST(RecorderFiles, AreStoredByteForByteAndSurviveARestart)
{
    for (const bool shared : {false, true}) {
        Lab lab;
        lab.describe("bench", concat("shared file = ", shared ? "yes" : "no", "\n", kBench));
        Service service({"noautoclose"}, lab.path());
        auto client = std::make_unique<Client>();
        const auto restart = [&] {
            client.reset();
            service.kill();
            service.start();
            client = std::make_unique<Client>();
        };
        configurePorts(*client, 3, 70, 3);
        EXPECT_EQ(client->call("repairPort", "P identity='Cam 0' info=#0102 numFramesPerPacket=3"),
                  "{}");
        record(*client, 6, 5);

        const Value first = client->result("recordingFile", "P"),
                    second = client->result("recordingFile", "D port=2");
        const uint64_t file[] = {first["fileId"].number, second["fileId"].number};
        const uint64_t stream[] = {first["streamId"].number, second["streamId"].number};
        EXPECT_EQ(file[0] == file[1], shared);
        EXPECT_NE(stream[0], stream[1]);
        EXPECT_EQ(client->result("recordingProgress", "P").text,
                  R"({"numFrames":6,"inPretrigger":false})");
        const Value list = client->result("listFiles", "D");
        const uint64_t time = list["files"][""]["timestamp"].number;
        const std::string listTail = concat(time, R"(,"duration":0,"startTime":0,"endTime":0})");
        const std::string heads[] = {entryHead(0, file[0], stream[0], "Cam 0"),
                                     entryHead(2, file[1], stream[1], "Cam 2")};
        EXPECT_EQ(list.text,
                  concat(R"({"files":[)", heads[0], listTail, ",", heads[1], listTail, "]}"));

        const std::string open = R"({"orek":true,"type":"meta","version":0,"info":[)";
        const std::string tail = concat(time, R"(,"startTime":0,"endTime":0,"duration":0)");
        const std::string entries[] = {heads[0] + tail + R"(,"info":#0102})",
                                       heads[1] + tail + "}"};
        if (shared) {
            EXPECT_EQ(metadata(lab, file[0]), concat(open, entries[0], ",", entries[1], "]}"));
        } else {
            EXPECT_EQ(metadata(lab, file[0]), concat(open, entries[0], "]}"));
            EXPECT_EQ(metadata(lab, file[1]), concat(open, entries[1], "]}"));
        }
        for (int i = 0; i < 2; i++) {
            EXPECT_EQ(client->result("listFiles", "D").text, list.text);
            EXPECT_EQ(
                client
                    ->result("fileIdentity", concat("D fileId=", file[0], " streamId=", stream[0]))
                    .text,
                R"({"data":#0102})");
            EXPECT_EQ(
                client->call("fileIdentity", concat("D fileId=", file[1], " streamId=", stream[1])),
                error("There is no file 0."));
            expectFrames(*client, 0, file[0], stream[0], 6);
            expectFrames(*client, 2, file[1], stream[1], 6);
            restart();
        }
        // A configuration that its file has no room for isn't begun.
        const std::string endless(3 << 20, 'c');
        EXPECT_EQ(
            client->call("pairPort", "P info=# numFramesPerPacket=1 identity='" + endless + "'"),
            error("eof"));
        restart();
        EXPECT_EQ(client->result("pairedTo", "P")["pairedTo"].string, "Cam 0");
        EXPECT_EQ(client->result("getPortConfig", "D port=2").text,
                  R"({"width":70,"height":3,"pixelFormat":5,"tapGeometry":0})");
    }
}

TEST(RecorderFiles, AreSalvagedAfterTheServiceDied)
{
    Lab lab;
    lab.describe("bench", "ports = 2\ndrive sets = 1\nshared file = yes\nrecovery time = 1\n"
                          "[ports]\nframe rate = 500\n");
    Service service({"noautoclose"}, lab.path());
    {
        Client client;
        configurePorts(client, 2, 16, 2);
        startRecording(client, 3);
    }
    service.kill();
    service.start();

    Client client;
    EXPECT_NE(service.errors().find("HasIncompleteFile\n"), std::string::npos);
    EXPECT_EQ(client.call("startRecovery", "D"), "{}");
    EXPECT_TRUE(
        waitUntil([&] { return client.result("recoveryStatus", "D")["status"].number == 3; }));
    EXPECT_EQ(client.call("finishRecovery", "D"), "{}");
    const Value list = client.result("listFiles", "D")["files"];
    ASSERT_EQ(list.members.size(), 2u);
    for (uint32_t port = 0; port < 2; port++) {
        const Value &file = list.members[port].second;
        EXPECT_GE(file["numFrames"].number, 20u);
        const Region region(client.result("openFile", concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number)));
        for (const uint64_t frame : {uint64_t(0), file["numFrames"].number - 1}) {
            EXPECT_EQ(client.call("readFrame", concat("D openFileId=", port, " frame=", frame)),
                      "{}");
            EXPECT_TRUE(region.bytes(64) == simulatedFrame(port, frame, 16, 2)) << frame;
        }
    }
}

} // namespace
} // namespace tavu::test
