// Recordings of the simulated recorder: how they begin and end, and how cut-off ones are salvaged.

#include "harness/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

constexpr const char *kBench = "name = bench\nports = 3\ndrives = 2\n";
constexpr const char *kSet = "drive sets = 1\n";
constexpr const char *kPorts = "[ports]\nframe rate = 500\n";

class RecorderRecording : public testing::Test
{
protected:
    RecorderRecording() { configurePorts(client, 2, 16, 2); }

    static Lab &described(Lab &lab)
    {
        lab.describe("bench", concat(kBench, kSet, kPorts));
        return lab;
    }
    void setInput(const char *level)
    {
        lab.describe("bench", concat(kBench, kSet, "external input = ", level, "\n", kPorts));
    }
    Value progress(int port = 0) { return client.result(47, concat("D port=", port)); }
    bool waitForFrames(uint64_t count, int port = 0)
    {
        return waitUntil([&] { return progress(port)["numFrames"].number >= count; });
    }
    bool waitUntilDone()
    {
        return waitUntil([&] { return client.result(45, "D")["done"].text == "true"; });
    }
    bool isInPretrigger() { return progress()["inPretrigger"].text == "true"; }

    Lab lab;
    Service service{{}, described(lab).path()};
    Client client;
};

TEST_F(RecorderRecording, FillsALoopUntilTheSoftwareTriggerComes)
{
    EXPECT_EQ(client.call(42, recordingOf(3, "usePretrigger=true pretriggerCount=20000 type=1 "
                                             "count=40")),
              "{}");
    EXPECT_TRUE(waitUntil([&] { return isInPretrigger(); }));
    EXPECT_EQ(client.result(45, "D").text, R"({"done":false})");
    EXPECT_EQ(client.call(44, "D"), "{}");
    EXPECT_TRUE(waitUntilDone());
    EXPECT_EQ(client.call(43, "D"), "{}");
    EXPECT_EQ(progress(1).text, R"({"numFrames":40,"inPretrigger":false})");
}

TEST_F(RecorderRecording, FollowsTheExternalInput)
{
    // Start and stop by rising edges.
    EXPECT_EQ(client.call(42, recordingOf(1, "externalTrigger=3 type=0 count=0")), "{}");
    setInput("high");
    EXPECT_TRUE(waitForFrames(3));
    setInput("low");
    const uint64_t frames = progress()["numFrames"].number;
    EXPECT_TRUE(waitForFrames(frames + 50));
    setInput("high");
    EXPECT_TRUE(waitUntilDone());
    EXPECT_EQ(client.call(43, "D"), "{}");
    // Bit 4 makes it the falling edge, and without a stop input a count ends it: its low 32 bits.
    EXPECT_EQ(client.call(42, recordingOf(1, concat("externalTrigger=17 type=1 count=",
                                                    (uint64_t(1) << 32) + 5))),
              "{}");
    setInput("low");
    EXPECT_TRUE(waitUntilDone());
    EXPECT_EQ(client.call(43, "D"), "{}");
    EXPECT_EQ(progress()["numFrames"].number, 5u);
    // Bit 4 alone takes this branch too, but then nothing waits.
    EXPECT_EQ(client.call(42, recordingOf(1, "externalTrigger=16 type=2 count=50000")), "{}");
    EXPECT_TRUE(waitUntilDone());
    EXPECT_EQ(client.call(43, "D"), "{}");
    EXPECT_GT(progress()["numFrames"].number, 0u);
}

TEST_F(RecorderRecording, StartedTwiceGoesOnWithNewStreams)
{
    EXPECT_EQ(client.result(46, "P").text, R"({"fileId":0,"streamId":0})");
    EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
    EXPECT_TRUE(waitForFrames(5));
    const uint64_t stream = client.result(46, "P")["streamId"].number;
    EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
    EXPECT_GT(client.result(46, "P")["streamId"].number, stream);
    EXPECT_TRUE(waitForFrames(5));
    EXPECT_EQ(client.call(43, "D"), "{}");
    EXPECT_EQ(client.call(43, "D"), "{}");
    EXPECT_EQ(client.result(26, "D")["files"].members.size(), 1u);
    EXPECT_EQ(client.result(7, "D").text, R"({"hasIncompleteFile":true})");
}

TEST(RecorderPort, WithoutAFileStaysMarkedAsRecording)
{
    Lab lab;
    lab.describe("bench", concat(kBench, kSet, kPorts, "[port 2]\nno file = yes\n"));
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 2, 16, 2);
    recordFrames(client, 3, 3);
    EXPECT_EQ(client.result(46, "D port=1")["fileId"].number, 0u);
    const Value files = client.result(26, "D")["files"];
    ASSERT_EQ(files.members.size(), 1u);
    EXPECT_EQ(files[""]["port"].string, "Port 1");
    recordFrames(client, 3, 3);
}

TEST_F(RecorderRecording, IsSalvagedAfterTheServiceDied)
{
    lab.describe("bench", concat(kBench, kSet, "shared file = yes\nrecovery time = 300\n", kPorts));
    EXPECT_TRUE(waitUntil([&] {
        recordFrames(client, 3, 1);
        return client.result(46, "P")["fileId"].number ==
               client.result(46, "D port=1")["fileId"].number;
    }));
    const size_t files = client.result(26, "D")["files"].members.size();
    EXPECT_EQ(client.call(42, recordingOf(3)), "{}");
    EXPECT_TRUE(waitForFrames(20) && waitForFrames(20, 1));
    service.kill();
    service.start();

    Client again;
    EXPECT_NE(service.errors().find("HasIncompleteFile\n"), std::string::npos);
    const auto waitForStatus = [&](uint64_t wanted) {
        return waitUntil([&] { return again.result(11, "D")["status"].number == wanted; });
    };
    EXPECT_EQ(again.result(26, "D")["files"].members.size(), files);
    EXPECT_EQ(again.call(9, "D"), "{}");
    EXPECT_EQ(again.call(9, "D"), error("Recovery already in progress."));
    EXPECT_EQ(again.result(11, "D").text, R"({"status":1})");
    EXPECT_EQ(again.call(10, "D"), "{}");
    EXPECT_TRUE(waitForStatus(4));
    EXPECT_EQ(again.call(10, "D"), error("Recovery not in progress."));

    lab.describe("bench", concat(kBench, kSet, "recovery error = worn out\n", kPorts));
    EXPECT_TRUE(waitUntil([&] {
        again.call(9, "D");
        return waitForStatus(2) || waitForStatus(3);
    }));
    EXPECT_EQ(again.result(12, "D").text, R"({"error":"worn out"})");
    lab.describe("bench", concat(kBench, kSet, "recovery time = 1\n", kPorts));
    EXPECT_TRUE(waitUntil([&] {
        again.call(9, "D");
        waitUntil([&] { return again.result(11, "D")["status"].number != 1; });
        return again.result(11, "D")["status"].number == 3;
    }));
    EXPECT_EQ(again.call(13, "D"), "{}");
    EXPECT_EQ(again.result(7, "D").text, R"({"hasIncompleteFile":false})");
    const Value list = again.result(26, "D")["files"];
    ASSERT_EQ(list.members.size(), files + 2);
    for (uint32_t port = 0; port < 2; port++) {
        const Value &file = list.members[files + port].second;
        EXPECT_EQ(file["port"].string, concat("Port ", port + 1));
        EXPECT_EQ(file["camera"].string, "");
        EXPECT_GE(file["numFrames"].number, 20u);
        EXPECT_EQ(file["size"].number, file["numFrames"].number * 64);
        const Value opened = again.result(
            27, concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number));
        const Region region(opened);
        for (const uint64_t frame : {uint64_t(0), file["numFrames"].number - 1}) {
            EXPECT_EQ(again.call(30, concat("D openFileId=", port, " frame=", frame)), "{}");
            EXPECT_TRUE(region.bytes(64) == simulatedFrame(port, frame, 16, 2)) << frame;
        }
    }
    EXPECT_EQ(again.call(13, "D"), "{}");
    EXPECT_EQ(again.result(26, "D")["files"].members.size(), files + 4);
    EXPECT_EQ(again.call(8, "D"), error("There is no file 0."));
}

TEST_F(RecorderRecording, FillsTheDrivesAndKeepsWhatItHas)
{
    lab.describe("small",
                 "drives = 2\ndrive size = 512K\ncluster size = 64K\ndrive sets = 1\n[ports]\n"
                 "frame rate = 1000\n");
    EXPECT_TRUE(waitUntil([&] { return client.result(4)["count"].number == 2; }));
    const std::string device = "deviceId=1 ";
    EXPECT_EQ(client.call(41, device + "port=0 width=100 height=100 pixelFormat=0 tapGeometry=0"),
              error("The drive set is full."));
    lab.describe("large",
                 "drives = 2\ndrive size = 4M\ncluster size = 64K\ndrive sets = 1\n[ports]\n"
                 "frame rate = 1000\n");
    EXPECT_TRUE(waitUntil([&] { return client.result(4)["count"].number == 3; }));
    const std::string large = "deviceId=2 ";
    EXPECT_EQ(client.call(41, large + "port=0 width=100 height=100 pixelFormat=0 tapGeometry=0"),
              "{}");
    EXPECT_EQ(client.call(42, large + recordingOf(1).substr(1)), "{}");
    EXPECT_TRUE(waitUntil([&] { return client.result(45, large)["done"].text == "true"; }));
    EXPECT_EQ(client.call(43, large), "{}");
    EXPECT_EQ(client.result(51, large)["percent"].number, 100u);
    EXPECT_GT(client.result(26, large)["files"][""]["numFrames"].number, 200u);
}

} // namespace
} // namespace tavu::test
