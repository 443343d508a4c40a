// Live view and camera memory: a port that waits for its camera holds nobody else up.

#include "harness/recording.h"
#include "harness/service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace tavu::test {
namespace {

/// A request on a connection and a thread of its own.
class Background
{
public:
    Background(std::string_view command, const std::string &params)
    {
        client_.request(command, params);
        thread_ = std::thread([this] {
            text_ = client_.reply().text;
            done_ = true;
        });
    }
    ~Background()
    {
        if (thread_.joinable())
            thread_.join();
    }
    bool isDone() const { return done_; }
    std::string reply()
    {
        thread_.join();
        return text_;
    }

private:
    Client client_;
    std::string text_;
    std::atomic<bool> done_{false};
    std::thread thread_;
};

TEST(RecorderLive, ComesAtTheCamerasPaceAndAgainAfterARecording)
{
    Lab lab;
    lab.describe("bench", "ports = 2\ndrive sets = 1\n[ports]\nframe rate = 100\n");
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 70, 3);
    client.fails("liveFrame", "P", "Failed to grab frame.");
    client.fails("startLive", "D port=1", "Failed to create shared memory mapping.");
    Region first(client.result("startLive", "P"));
    // A second start makes a new region, and the first one can still be opened.
    const Value restarted = client.result("startLive", "P");
    const Region region(restarted);
    EXPECT_NE(region.name, first.name);
    int64_t last = -1;
    const auto takeFrame = [&] {
        EXPECT_EQ(client.result("liveFrame", "P").text,
                  R"({"width":70,"height":3,"imageSize":420})");
        const Bytes frame = region.bytes(420);
        const int64_t number = uint8_t(frame[2]) + 256 * uint8_t(frame[3]);
        EXPECT_TRUE(frame == simulatedFrame(0, number, 70, 3));
        EXPECT_GT(number, last);
        last = number;
    };
    for (int i = 0; i < 5; i++)
        takeFrame();
    // A start that fails leaves the view as it is.
    setFaults(lab, client, "bench", "Port::startGrab 1 raise broken");
    client.fails("startLive", "P", "broken");
    takeFrame();
    EXPECT_TRUE(first.isReachable());
    client.does("startRecording", recordingOf(1));
    takeFrame();
    client.does("stopRecording", "D");
    takeFrame();
    client.does("stopLive", "P");
    client.fails("liveFrame", "P", "Failed to grab frame.");
    EXPECT_TRUE(region.bytes(420) == simulatedFrame(0, last, 70, 3));
    EXPECT_FALSE(first.isReachable());
    EXPECT_EQ(Region(restarted).bytes(420), region.bytes(420));
}

TEST(RecorderLive, RefusesFramesOfAnotherDepthAndCutsLargeOnes)
{
    Lab lab;
    lab.describe("bench",
                 "ports = 4\ndrive sets = 1\n[ports]\nframe rate = 100\nframe size = 80x4\n"
                 "[port 1]\nbit depth = 12\n"
                 "[port 2]\nbit depth = 12\nbit depth setting = yes\n"
                 "[port 3]\nbit depth = 12\npacking setting = yes\n");
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 4, 70, 3);
    for (int port = 0; port < 4; port++) {
        const std::string params = concat("D port=", port);
        const Region region(client.result("startLive", params));
        const std::string reply = client.call("liveFrame", params);
        if (port == 0) {
            EXPECT_EQ(reply, error("Bad frame size."));
            continue;
        }
        EXPECT_EQ(reply, R"({"result":{"width":80,"height":4,"imageSize":640}})");
        const Bytes frame = region.bytes(420);
        const uint64_t number = uint8_t(frame[2]) + 256 * uint8_t(frame[3]);
        EXPECT_TRUE(frame == simulatedFrame(port, number, 80, 4).substr(0, 420)) << port;
    }
}

TEST(RecorderLive, APortThatWaitsHoldsUpNobodyElse)
{
    const std::string ports = "ports = 3\ndrive sets = 1\n[ports]\nframe rate = 100\n";
    Lab lab;
    lab.describe("bench", ports + "[port 1]\nsilent = yes\n");
    lab.describe("other", "");
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 2, 16, 2);
    client.result("startLive", "P");
    client.result("startLive", "D port=1");
    {
        // Two wait for the silent port, five seconds each.
        Background waiting("liveFrame", "P"), behind("liveFrame", "P");
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < 20; i++) {
            EXPECT_EQ(client.result("liveFrame", "D port=1")["width"].number, 16u);
            EXPECT_EQ(client.result("deviceName", "D")["name"].string, "bench");
            EXPECT_EQ(client.result("deviceName", "deviceId=1")["name"].string, "other");
            EXPECT_EQ(client.result("registerRead", "P addr=12300 size=4").text,
                      R"({"data":#00008000})");
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
        EXPECT_FALSE(waiting.isDone() || behind.isDone());
        // A recording ends the wait. The register lets the camera send again.
        client.does("startRecording", recordingOf(1));
        EXPECT_EQ(waiting.reply(), error("Failed to grab frame."));
        client.does("registerWrite", "P addr=32768 data=#00000001");
        const std::string late = behind.reply();
        EXPECT_TRUE(late == error("Failed to grab frame.") || late[2] == 'r') << late;
    }
    EXPECT_EQ(client.result("liveFrame", "P")["width"].number, 16u);
    client.does("stopRecording", "D");
}

// All who wait for a frame that never comes fail at the same time, not one after another.
TEST(RecorderLive, AllWhoWaitForASilentPortHearOfIt)
{
    Lab lab;
    lab.describe("bench", "drive sets = 1\n[ports]\nsilent = yes\n");
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 16, 2);
    client.result("startLive", "P");
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::unique_ptr<Background>> waiting;
    for (int i = 0; i < 8; i++)
        waiting.push_back(std::make_unique<Background>("liveFrame", "P"));
    for (const auto &request : waiting)
        EXPECT_EQ(request->reply(), error("Failed to grab frame."));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(RecorderCamera, ASlowTransferHoldsUpItsPortAlone)
{
    Lab lab;
    lab.describe("bench", "ports = 2\ndrive sets = 1");
    Service service({}, lab.path());
    Client client;
    setFaults(lab, client, "bench", "Port::readMemory 1 take 1500");
    const auto begin = std::chrono::steady_clock::now();
    Background slow("registerRead", "P addr=0 size=4");
    Background behind("registerWrite", "P addr=0 data=#01");
    for (int i = 0; i < 20; i++)
        EXPECT_EQ(client.result("deviceName", "D")["name"].string, "bench");
    client.does("registerWrite", "D port=1 addr=0 data=#02");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1400));
    EXPECT_FALSE(slow.isDone() && behind.isDone());
    slow.reply();
    EXPECT_EQ(behind.reply(), "{}");

    // Nobody is told of a change before it is made.
    client.result("createEventQueue");
    setFaults(lab, client, "bench", "DriveSet::findFile 1 take 500");
    const auto start = std::chrono::steady_clock::now();
    Background pairing("pairPort", "P identity='Cam' info=# numFramesPerPacket=1");
    EXPECT_TRUE(
        waitUntil([&] { return client.result("tryReadEvent", "queueId=0")["ok"].text == "true"; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

} // namespace
} // namespace tavu::test
