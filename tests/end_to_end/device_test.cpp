#include "harness/service.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

namespace fs = std::filesystem;

/// 100 ns since 1601-01-01 UTC.
uint64_t presentTime()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return 116444736000000000 + std::chrono::nanoseconds(sinceEpoch).count() / 100;
}

std::string record(std::string_view type, std::string_view key, const std::string &payload)
{
    return concat(R"({"orek":true,"type":")", type, R"(","version":0,")", key, R"(":[)", payload,
                  "]}");
}

TEST(Recording, IsListedAndStoredByteForByte)
{
    Service service;
    Client client;
    EXPECT_EQ(client.result(26, "D").text, R"({"files":[]})");
    configure(client, 70, 3);
    const uint64_t before = presentTime();
    EXPECT_EQ(record(client, 3), 1u);

    const uint64_t stopped = client.result(26, "D")["files"][""]["timestamp"].number;
    const Value catalogue = decodeFile(service.emulatorFolder + ".files");
    const uint64_t started = catalogue["info"][""]["timestamp"].number;
    EXPECT_GE(started, before);
    EXPECT_GE(stopped, started);
    EXPECT_LE(stopped, presentTime());
    const std::string entry = R"({"name":"1","port":"Emu","camera":"Cam","fileId":1,"streamId":0,)"
                              R"("width":70,"height":3,"numFrames":3,"numDroppedFrames":0,)"
                              R"("size":1260,"timestamp":)";
    const std::string times = R"(,"startTime":0,"endTime":0)";
    EXPECT_EQ(client.result(26, "D").text,
              concat(R"({"files":[)", entry, stopped, R"(,"duration":0)", times, "}]}"));
    EXPECT_EQ(
        decodeFile(service.emulatorFolder + "Emu/1.meta").text,
        record("meta", "info", concat(entry, stopped, times, R"(,"duration":0,"info":#0102})")));
    EXPECT_EQ(catalogue.text,
              record("meta", "info", concat(entry, started, times, R"(,"duration":0})")));
    EXPECT_EQ(decodeFile(service.emulatorFolder + ".meta").text,
              record("config", "config",
                     R"({"name":"Emu","pairedTo":"Cam","width":70,"height":3,"pixelFormat":5,)"
                     R"("tapGeometry":6,"numFramesPerPacket":3,"info":#0102})"));
    EXPECT_EQ(client.result(32, "D fileId=1 streamId=9").text, R"({"data":#0102})");
    EXPECT_FALSE(fs::exists(nativePath(service.emulatorFolder + "Emu/.incomplete")));
}

TEST(Recording, EndsByItsLimitAndPlaysBack)
{
    Service service;
    Client client;
    const struct
    {
        uint32_t width, height;
        const char *limit;
        uint64_t frames;
    } cases[] = {{70, 3, "type=2 count=1000000", 32}, {1000, 70, "type=1 count=0", 1}};
    for (const auto &item : cases) {
        const uint64_t id = static_cast<uint64_t>(&item - cases) + 1;
        configure(client, item.width, item.height);
        const std::string start = concat(
            "D portMask=1 externalTrigger=0 usePretrigger=false pretriggerCount=0 ", item.limit);
        EXPECT_EQ(client.call(42, start), "{}");
        EXPECT_TRUE(waitUntil([&] { return client.result(45, "D")["done"].text == "true"; }));
        EXPECT_EQ(client.result(47, "P").text,
                  concat(R"({"numFrames":)", item.frames, R"(,"inPretrigger":false})"));
        EXPECT_EQ(client.call(42, start), error("Already recording"));
        EXPECT_EQ(client.call(43, "D"), "{}");
        const std::string file = concat("D fileId=", id, " streamId=0");
        const Region region(client.result(27, file));
        const std::string slot = concat("D openFileId=", id - 1);
        const uint64_t size = uint64_t(item.width) * item.height * 2;
        EXPECT_EQ(client.result(28, slot).text,
                  concat(R"({"width":)", item.width, R"(,"height":)", item.height,
                         R"(,"imageSize":)", size, R"(,"numFrames":)", item.frames, R"(,"size":)",
                         size * item.frames, '}'));
        for (uint64_t frame = item.frames; frame-- > 0;) {
            EXPECT_EQ(client.call(30, concat(slot, " frame=", frame)), "{}");
            EXPECT_EQ(region.bytes(size), expectedFrame(frame, item.width, item.height));
        }
        EXPECT_EQ(client.call(30, concat(slot, " frame=", item.frames)),
                  error("Invalid frame index"));
    }
    EXPECT_EQ(service.errors(), "Already recording\nAlready recording\n");
}

TEST(Catalogue, SurvivesARestart)
{
    Service service;
    Script script;
    script.play(R"(
        A configures 4 4
        A records 1
        A records 1
        A 48 D fileId=2 streamId=0 name='a b' notify=false -> ok
    )");
    script["A"].result(27, "D fileId=1 streamId=0");
    script.play(R"(
        B 28 D openFileId=0 -> !File not opened by this connection.
        B leaves
        A 28 deviceId=1 openFileId=0 -> !File not opened by this connection.
        A 31 D fileId=1 streamId=0 -> !File is open
        A 29 D openFileId=0 -> ok
        A 29 D openFileId=0 -> !File not opened by this connection.
        A 31 D fileId=1 streamId=0 -> ok
    )");
    const std::string list = script["A"].call(26, "D");
    script.play("A leaves");
    EXPECT_EQ(service.waitForExit(), 0);
    service.start();
    EXPECT_EQ(script["A"].call(26, "D"), list);
    script.play(R"(
        A 35 P -> {"pairedTo":"Cam"}
        A 38 P -> {"data":#0102}
        A 39 P -> {"numFramesPerPacket":3}
        A 40 P -> {"width":4,"height":4,"pixelFormat":5,"tapGeometry":6}
        A records 1
        A 46 P -> {"fileId":3,"streamId":0}
        A 33 D -> ok
        A 27 D fileId=2 streamId=0 -> !Invalid fileId
    )");
}

TEST(Regions, AreNeverWrittenPastTheFrameTheyWereMadeFor)
{
    Service service;
    Script script;
    script.play("A configures 4 4");
    const Region live(script["A"].result(52, "P"));
    script.play(R"(
        A 54 P -> {"width":4,"height":4,"imageSize":32}
        A configures 1000 1000
        A 54 P -> {"width":1000,"height":1000,"imageSize":2000000}
        A configures 0 7
        A 54 P -> {"width":0,"height":7,"imageSize":0}
    )");
    EXPECT_EQ(live.bytes(4096), expectedRamp(32, 16) + Bytes(4096 - 32, '\0'));
    // 46341 x 46341 x 2 is 9266 above 2^32.
    script.play("A 53 P -> ok\nA configures 46341 46341");
    const Region wrapped(script["A"].result(52, "P"));
    script.play(R"(A 54 P -> {"width":46341,"height":46341,"imageSize":9266})");
    EXPECT_EQ(wrapped.bytes(12288), expectedRamp(0, 4633) + Bytes(12288 - 9266, '\0'));
    script.play("A 53 P -> ok\nA configures 65535 65535");
    const std::string answer = script["A"].call(52, "P");
    EXPECT_TRUE(answer == error("Failed to create memory mapping") ||
                answer.starts_with(R"({"result":{"mapping":"orek_tavu)"))
        << answer;
    script.play(R"(A 4 -> {"count":1})");
}

TEST(Recovery, AKilledRecordingIsDiscardedOrWrittenOver)
{
    Service service;
    Script script;
    for (const bool isDiscarded : {true, false}) {
        script.play("A configures 50 50");
        startRecording(script["A"]);
        service.kill();
        script.play("A leaves");
        service.start();
        script.play(R"(
            A 7 D -> {"hasIncompleteFile":true}
            A 43 D -> !Not recording
            A 13 D -> !eof
        )");
        for (const uint64_t recovers : {9, 11}) // in words of the platform
            EXPECT_TRUE(script["A"].call(recovers, "D").starts_with(R"({"error":")"));
        if (isDiscarded)
            script.play("A 8 D -> ok\nA 7 D -> {\"hasIncompleteFile\":false}");
        // The id of the cut-off recording is free again.
        const uint64_t id = isDiscarded ? 1 : 2;
        EXPECT_EQ(script["A"].result(26, "D")["files"].members.size(), id - 1);
        EXPECT_EQ(record(script["A"], 1), id);
        EXPECT_EQ(readFile(concat(service.emulatorFolder, "Emu/", id)), expectedFrame(0, 50, 50));
    }
}

} // namespace
} // namespace tavu::test
