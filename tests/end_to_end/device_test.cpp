#include "harness/recording.h"
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
    EXPECT_EQ(client.result("listFiles", "D").text, R"({"files":[]})");
    configure(client, 70, 3);
    const uint64_t before = presentTime();
    EXPECT_EQ(record(client, 3), 1u);

    const uint64_t stopped = client.result("listFiles", "D")["files"][""]["timestamp"].number;
    const Value catalogue = decodeFile(service.emulatorFolder / ".files");
    const uint64_t started = catalogue["info"][""]["timestamp"].number;
    EXPECT_GE(started, before - before % 10'000); // clocks that go in milliseconds, too
    EXPECT_GE(stopped, started);
    EXPECT_LE(stopped, presentTime());
    const std::string entry = R"({"name":"1","port":"Emu","camera":"Cam","fileId":1,"streamId":0,)"
                              R"("width":70,"height":3,"numFrames":3,"numDroppedFrames":0,)"
                              R"("size":1260,"timestamp":)";
    const std::string times = R"(,"startTime":0,"endTime":0)";
    EXPECT_EQ(client.result("listFiles", "D").text,
              concat(R"({"files":[)", entry, stopped, R"(,"duration":0)", times, "}]}"));
    EXPECT_EQ(
        decodeFile(service.emulatorFolder / "Emu/1.meta").text,
        record("meta", "info", concat(entry, stopped, times, R"(,"duration":0,"info":#0102})")));
    EXPECT_EQ(catalogue.text,
              record("meta", "info", concat(entry, started, times, R"(,"duration":0})")));
    EXPECT_EQ(decodeFile(service.emulatorFolder / ".meta").text,
              record("config", "config",
                     R"({"name":"Emu","pairedTo":"Cam","width":70,"height":3,"pixelFormat":5,)"
                     R"("tapGeometry":6,"numFramesPerPacket":3,"info":#0102})"));
    EXPECT_EQ(client.result("fileIdentity", "D fileId=1 streamId=9").text, R"({"data":#0102})");
    EXPECT_FALSE(fs::exists(service.emulatorFolder / "Emu/.incomplete"));
}

TEST(Files, BelongToTheConnectionThatOpenedThem)
{
    Service service;
    Script script;
    script.play(R"(
        A configures 4 4
        A records 1
        A records 1
        A renameFile D fileId=2 streamId=0 name='a b' notify=false -> ok
    )");
    const Region region(script["A"].result("openFile", "D fileId=1 streamId=0"));
    script.play(R"(
        A fileInfo D openFileId=0 -> {"width":4,"height":4,"imageSize":32,"numFrames":1,"size":32}
        B fileInfo D openFileId=0 -> !File not opened by this connection.
        B leaves
        A fileInfo deviceId=1 openFileId=0 -> !File not opened by this connection.
        A removeFile D fileId=1 streamId=0 -> !File is open
        A readFrame D openFileId=0 frame=1 -> !Invalid frame index
        A readFrame D openFileId=0 frame=0 -> ok
        A closeFile D openFileId=0 -> ok
        A closeFile D openFileId=0 -> !File not opened by this connection.
        A removeFile D fileId=1 streamId=0 -> ok
    )");
    EXPECT_EQ(region.bytes(32), expectedFrame(0, 4, 4));
    const std::string list = script["A"].call("listFiles", "D");
    script.play("A leaves");
    EXPECT_EQ(service.waitForExit(), 0);
    service.start();
    EXPECT_EQ(script["A"].call("listFiles", "D"), list);
}

TEST(Regions, AreNeverWrittenPastTheFrameTheyWereMadeFor)
{
    Service service;
    Script script;
    script.play(R"(
        A startLive P -> !Failed to create memory mapping
        A configures 4 4
        A liveFrame P -> !Live not started
    )");
    const Region live(script["A"].result("startLive", "P"));
    script.play(R"(
        A startLive P -> !Live alrady started
        A liveFrame P -> {"width":4,"height":4,"imageSize":32}
        A configures 1000 1000
        A liveFrame P -> {"width":1000,"height":1000,"imageSize":2000000}
        A configures 0 7
        A liveFrame P -> {"width":0,"height":7,"imageSize":0}
    )");
    EXPECT_EQ(live.bytes(4096), expectedRamp(32, 16) + Bytes(4096 - 32, '\0'));
    // 46341 x 46341 x 2 is 9266 above 2^32.
    script.play("A stopLive P -> ok\nA configures 46341 46341");
    const Region wrapped(script["A"].result("startLive", "P"));
    script.play(R"(A 54 P -> {"width":46341,"height":46341,"imageSize":9266})");
    EXPECT_EQ(wrapped.bytes(12288), expectedRamp(0, 4633) + Bytes(12288 - 9266, '\0'));
    script.play("A stopLive P -> ok\nA configures 65535 65535");
    const std::string answer = script["A"].call("startLive", "P");
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
            A hasIncompleteFile D -> {"hasIncompleteFile":true}
            A stopRecording D -> !Not recording
            A finishRecovery D -> !eof
        )");
        // The text is the system's.
        for (const char *command : {"startRecovery", "recoveryStatus"})
            EXPECT_TRUE(script["A"].call(command, "D").starts_with(R"({"error":")"));
        if (isDiscarded)
            script.play("A discardIncompleteFile D -> ok\nA hasIncompleteFile D -> "
                        "{\"hasIncompleteFile\":false}");
        // The id of the cut-off recording is free again.
        const uint64_t id = isDiscarded ? 1 : 2;
        EXPECT_EQ(script["A"].result("listFiles", "D")["files"].members.size(), id - 1);
        EXPECT_EQ(record(script["A"], 1), id);
        EXPECT_EQ(readFile(service.emulatorFolder / "Emu" / std::to_string(id)),
                  expectedFrame(0, 50, 50));
    }
}

} // namespace
} // namespace tavu::test
