// What recordings leave on a recorder's drives, and what can be done with them.

#include "harness/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

constexpr const char *kBench = "ports = 3\ndrives = 3\ndrive sets = 1\n[ports]\nframe rate = 500\n";

/// The record at the head of a drive file's metadata block.
std::string metadata(const Lab &lab, uint64_t fileId)
{
    const Bytes block = readFile(lab.file(concat("bench/sets/1/", fileId, ".meta")));
    size_t position = 0;
    return decode([&](uint64_t count) {
               position += count;
               return block.substr(position - count, count);
           })
        .text;
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
    const Value opened = client.result(27, concat("D fileId=", file, " streamId=", stream));
    const std::string id = concat("D openFileId=", opened["openFileId"].number);
    EXPECT_EQ(client.result(28, id).text,
              concat(R"({"width":70,"height":3,"imageSize":420,"numFrames":)", count, R"(,"size":)",
                     420 * count, "}"));
    const Region region(opened);
    for (uint64_t i = count; i-- > 0;) {
        EXPECT_EQ(client.call(30, concat(id, " frame=", i)), "{}");
        EXPECT_TRUE(region.bytes(420) == simulatedFrame(port, i, 70, 3)) << port << ", " << i;
    }
    EXPECT_EQ(client.call(30, concat(id, " frame=", count)), error("Failed to read file."));
    EXPECT_EQ(client.call(29, id), "{}");
    EXPECT_EQ(client.call(29, id), error("File not opened by this connection."));
}

TEST(RecorderFiles, AreStoredByteForByteAndSurviveARestart)
{
    for (const bool shared : {false, true}) {
        Lab lab;
        lab.describe("bench", concat("shared file = ", shared ? "yes" : "no", "\n", kBench));
        Service service({"noautoclose"}, lab.path());
        auto client = std::make_unique<Client>();
        configurePorts(*client, 3, 70, 3);
        EXPECT_EQ(client->call(36, "P identity='Cam 0' info=#0102 numFramesPerPacket=3"), "{}");
        recordFrames(*client, 5, 6);

        const Value first = client->result(46, "P"), second = client->result(46, "D port=2");
        const uint64_t file[] = {first["fileId"].number, second["fileId"].number};
        const uint64_t stream[] = {first["streamId"].number, second["streamId"].number};
        EXPECT_EQ(file[0] == file[1], shared);
        EXPECT_NE(stream[0], stream[1]);
        EXPECT_EQ(client->result(47, "P").text, R"({"numFrames":6,"inPretrigger":false})");
        const Value list = client->result(26, "D");
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
        for (int restart = 0; restart < 2; restart++) {
            EXPECT_EQ(client->result(26, "D").text, list.text);
            EXPECT_EQ(
                client->result(32, concat("D fileId=", file[0], " streamId=", stream[0])).text,
                R"({"data":#0102})");
            EXPECT_EQ(client->call(32, concat("D fileId=", file[1], " streamId=", stream[1])),
                      error("There is no file 0."));
            expectFrames(*client, 0, file[0], stream[0], 6);
            expectFrames(*client, 2, file[1], stream[1], 6);
            client.reset();
            service.kill();
            service.start();
            client = std::make_unique<Client>();
        }
        EXPECT_EQ(client->result(40, "D port=2").text,
                  R"({"width":70,"height":3,"pixelFormat":5,"tapGeometry":0})");
    }
}

TEST(RecorderFiles, AreNamedChangedAndRemovedStreamByStream)
{
    Lab lab;
    lab.describe("bench", concat("shared file = yes\n", kBench));
    Service service({}, lab.path());
    Script script;
    configurePorts(script["A"], 2, 70, 3);
    recordFrames(script["A"], 3, 2);
    const Value port = script["A"].result(46, "P"), other = script["A"].result(46, "D port=1");
    const std::string file = concat("D fileId=", port["fileId"].number, " streamId=");
    const std::string one = concat(file, port["streamId"].number);
    const std::string two = concat(file, other["streamId"].number);
    const std::string change = " width=9 height=8 numImages=7 numDroppedFrames=6 startTime=5 "
                               "endTime=4 duration=3 notify=false name=";
    script.play(
        concat("A 48 ", one, " name='a' notify=false -> ok\n", "A 48 ", two,
               " name='a' notify=false -> ok\n", "A 49 ", one, change,
               "'a' -> {\"name\":\"a(1)\"}\n", "A 49 ", one, change, "'a' -> {\"name\":\"a(2)\"}\n",
               "A 49 ", one, change, "'a(2)' -> {\"name\":\"a(2)(1)\"}\n", "A 49 ", file, "77",
               change, "'b' -> !File not found.\n", "A 48 ", file,
               "77 name='b' notify=false -> !File not found.\n", "A 31 ", file, "77 -> ok\n"));
    const std::string changed = script["A"].result(26, "D").text;
    EXPECT_NE(changed.find(R"-("name":"a(2)(1)","port":"Port 1")-"), std::string::npos);
    EXPECT_NE(
        changed.find(R"("width":9,"height":8,"numFrames":7,"numDroppedFrames":6,"size":840,)"),
        std::string::npos);

    // The same stream twice: two slots over one reader, and no removal before both are closed.
    const Value opened = script["A"].result(27, one), again = script["B"].result(27, one);
    EXPECT_NE(opened["mapping"].string, again["mapping"].string);
    EXPECT_EQ(again["openFileId"].number, 1u);
    const Region region(again);
    script.play(concat("A 29 D openFileId=0 -> ok\n", "B 30 D openFileId=1 frame=1 -> ok\n",
                       "A 31 ", one, " -> !Can't remove file, file is open.\n",
                       "A 33 D -> !Can't setup tavu while files are open.\n", "B leaves\n"));
    EXPECT_TRUE(region.bytes(420) == simulatedFrame(0, 1, 70, 3));
    EXPECT_TRUE(waitUntil([&] { return script["A"].call(31, one) == "{}"; }));
    EXPECT_EQ(script["A"].result(27, two)["openFileId"].number, 0u);
    script.play("A 29 D openFileId=0 -> ok");
    EXPECT_TRUE(std::filesystem::exists(nativePath(lab.file("bench/sets/1/2.file"))));
    script.play(concat("A 31 ", two, " -> ok\nA 26 D -> {\"files\":[]}\n"));
    EXPECT_FALSE(std::filesystem::exists(nativePath(lab.file("bench/sets/1/2.file"))));
}

TEST(RecorderFiles, LargeBlocksHaveAFileThatGoesWithTheRecording)
{
    Lab lab;
    lab.describe("bench", kBench);
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 70, 3);
    const Bytes block(20000, 'x');
    std::vector<Field> fields = parseFields("P identity='Cam' info=# numFramesPerPacket=1");
    fields[3].encoded = fromHex("C5 4E20") + block;
    client.send(encodeRequest(34, encodeMap(fields)));
    EXPECT_EQ(client.reply().text, "{}");
    recordFrames(client, 1, 2);
    const Value port = client.result(46, "P");
    const std::string pair =
        concat("D fileId=", port["fileId"].number, " streamId=", port["streamId"].number);
    EXPECT_TRUE(client.result(32, pair)["data"].string == block);
    EXPECT_EQ(metadata(lab, port["fileId"].number).find("info\":#"), std::string::npos);
    EXPECT_EQ(client.call(31, pair), "{}");
    EXPECT_EQ(client.call(32, pair), error("There is no file 0."));
}

TEST(RecorderFiles, SetupWipesTheDrivesAndNothingElse)
{
    Lab lab;
    lab.describe("bench", "drive sets = 2\n[ports]\nframe rate = 500\n");
    Service service({}, lab.path());
    Script script;
    configurePorts(script["A"], 1, 70, 3);
    recordFrames(script["A"], 1, 2);
    const std::string files = script["A"].result(26, "D").text;
    script.play(concat("A 33 D -> ok\n", "A 26 D -> ", files, "\n",
                       "A 35 P -> {\"pairedTo\":\"Cam 0\"}\n", "A 51 D -> {\"percent\":0}\n"));
    EXPECT_FALSE(std::filesystem::exists(nativePath(lab.file("bench/sets/1/set.conf"))) &&
                 std::filesystem::exists(nativePath(lab.file("bench/sets/2/set.conf"))));
    // The port is attached to no drive set until its configuration changes.
    EXPECT_EQ(script["A"].call(41, "P width=70 height=3 pixelFormat=5 tapGeometry=0"), "{}");
    EXPECT_NE(script["A"].call(42, recordingOf(1)), "{}");
    EXPECT_EQ(script["A"].call(41, "P width=70 height=4 pixelFormat=5 tapGeometry=0"), "{}");
    recordFrames(script["A"], 1, 2);
}

} // namespace
} // namespace tavu::test
