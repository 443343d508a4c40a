// Ports that wait: live view, serial channels and camera memory, and whom they don't hold up.

#include "harness/lab.h"
#include "harness/surroundings.h"

#include <gtest/gtest.h>
#include <thread>

namespace tavu::test {
namespace {

/// Runs a request on a connection of its own and hands the reply over.
class Background
{
public:
    Background(uint64_t ordinal, const std::string &params)
    {
        client_.request(ordinal, params);
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
    EXPECT_EQ(client.call(54, "P"), error("Failed to grab frame."));
    EXPECT_EQ(client.call(52, "D port=1"), error("Failed to create shared memory mapping."));
    Region first(client.result(52, "P"));
    // Started again the view has a new region, and the one before still can be opened.
    const Value restarted = client.result(52, "P");
    const Region region(restarted);
    EXPECT_NE(region.name, first.name);
    int64_t last = -1;
    const auto takeFrame = [&] {
        EXPECT_EQ(client.result(54, "P").text, R"({"width":70,"height":3,"imageSize":420})");
        const Bytes frame = region.bytes(420);
        const int64_t number = uint8_t(frame[2]) + 256 * uint8_t(frame[3]);
        EXPECT_TRUE(frame == simulatedFrame(0, number, 70, 3));
        EXPECT_GT(number, last);
        last = number;
    };
    for (int i = 0; i < 5; i++)
        takeFrame();
    // When that fails, the view goes on as it is.
    lab.setFaults(client, "bench", "Port::startGrab 1 raise broken");
    EXPECT_EQ(client.call(52, "P"), error("broken"));
    takeFrame();
    EXPECT_TRUE(first.isReachable());
    EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
    takeFrame();
    EXPECT_EQ(client.call(43, "D"), "{}");
    takeFrame();
    EXPECT_EQ(client.call(53, "P"), "{}");
    EXPECT_EQ(client.call(54, "P"), error("Failed to grab frame."));
    EXPECT_TRUE(region.bytes(420) == simulatedFrame(0, last, 70, 3));
    EXPECT_EQ(first.isReachable(), regionsStayForTheirUsers());
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
        const Region region(client.result(52, params));
        const std::string reply = client.call(54, params);
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
    client.result(52, "P");
    client.result(52, "D port=1");
    {
        // Two wait for the silent port; each would for five seconds.
        Background waiting(54, "P"), behind(54, "P");
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < 20; i++) {
            EXPECT_EQ(client.result(54, "D port=1")["width"].number, 16u);
            EXPECT_EQ(client.result(5, "D")["name"].string, "bench");
            EXPECT_EQ(client.result(5, "deviceId=1")["name"].string, "other");
            EXPECT_EQ(client.result(21, "P addr=12300 size=4").text, R"({"data":#00008000})");
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
        EXPECT_FALSE(waiting.isDone() || behind.isDone());
        // A recording ends the wait, and the camera sends again once its register says so.
        EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
        EXPECT_EQ(waiting.reply(), error("Failed to grab frame."));
        EXPECT_EQ(client.call(22, "P addr=32768 data=#00000001"), "{}");
        const std::string late = behind.reply();
        EXPECT_TRUE(late == error("Failed to grab frame.") || late[2] == 'r') << late;
    }
    EXPECT_EQ(client.result(54, "P")["width"].number, 16u);
    EXPECT_EQ(client.call(43, "D"), "{}");
}

// Those who waited for a frame that never came hear so together, not one after another.
TEST(RecorderLive, AllWhoWaitForASilentPortHearOfIt)
{
    Lab lab;
    lab.describe("bench", "drive sets = 1\n[ports]\nsilent = yes\n");
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 16, 2);
    client.result(52, "P");
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::unique_ptr<Background>> waiting;
    for (int i = 0; i < 8; i++)
        waiting.push_back(std::make_unique<Background>(54, "P"));
    for (const auto &request : waiting)
        EXPECT_EQ(request->reply(), error("Failed to grab frame."));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(RecorderLive, ASilentCameraIsWokenWhenItsPortIsConfiguredOrRecorded)
{
    Lab lab;
    const std::string silent = "drive sets = 1\n[ports]\nframe rate = 100\nsilent = yes\n"
                               "acquisition start = 0x9000\n";
    for (const char *type : {"15", "1"})
        lab.describe(concat("r", type), concat("device type = ", type, "\n", silent));
    Service service({}, lab.path());
    Client client;
    // Device 0 has no CoaXPress: its cameras are left alone.
    for (int device = 0; device < 2; device++) {
        const std::string port = concat("deviceId=", device, " port=0 ");
        EXPECT_EQ(client.call(41, port + "width=16 height=2 pixelFormat=0 tapGeometry=0"), "{}");
        EXPECT_EQ(client.result(21, port + "addr=36864 size=4").text,
                  device == 0 ? R"({"data":#00000000})" : R"({"data":#00000001})");
    }
    EXPECT_EQ(client.call(22, "deviceId=1 port=0 addr=36864 data=#00000000"), "{}");
    EXPECT_EQ(client.call(42, "deviceId=1 " + recordingOf(1).substr(2)), "{}");
    EXPECT_TRUE(
        waitUntil([&] { return client.result(47, "deviceId=1 port=0")["numFrames"].number > 3; }));
}

TEST(RecorderCamera, TalksOverItsSerialChannel)
{
    Lab lab;
    lab.describe("bench", "ports = 3\n[port 2]\nserial = no\n[port 3]\ncamera = no\n");
    Service service({}, lab.path());
    Script script;
    script.play(R"(
        A 17 P size=1 -> !Serial port not open.
        A 14 D port=1 baudRate=9600 parity=0 stopBits=1 -> !serial not supported on this device
        A 14 D port=2 baudRate=9600 parity=0 stopBits=1 -> !camera not detected
        A 14 D port=3 baudRate=9600 parity=0 stopBits=1 -> !Invalid port index.
        A 14 P baudRate=9600 parity=0 stopBits=1 -> ok
        A 14 P baudRate=9600 parity=0 stopBits=1 -> !Serial port already open.
        B 15 P -> {"baudRate":9600}
        B 16 P baudRate=115200 -> ok
        B 15 P -> {"baudRate":115200}
        A 18 P data=#6563686F2068690D -> {"size":8}
        A 17 P size=4 -> !Serial port recieve failed.
        B 17 P size=2 -> {"data":#6869}
        B 17 P size=0 -> {"data":#}
        B 17 P size=1 -> {"data":#0D}
        A 18 P data=#69640D -> {"size":3}
        A 19 P -> ok
        A 17 P size=1 -> !Serial port recieve failed.
        A leaves
        B 20 P -> ok
        B 20 P -> !Serial port not open.
        B 22 P addr=4096 data=#010203 -> ok
        B 21 P addr=4095 size=5 -> {"data":#0001020300}
        B 21 P addr=4095 size=0 -> {"data":#}
        B 21 D port=3 addr=0 size=4 -> !Invalid port index.
    )");
    Client client;
    EXPECT_NE(client.call(21, "P addr=1048575 size=2").find("error"), std::string::npos);
    EXPECT_NE(client.call(21, "D port=2 addr=0 size=2").find("error"), std::string::npos);
    EXPECT_NE(client.call(21, "P addr=0 size=4294967295").find("error"), std::string::npos);
}

TEST(RecorderCamera, ASlowTransferHoldsUpItsPortAlone)
{
    Lab lab;
    lab.describe("bench", "ports = 2");
    Service service({}, lab.path());
    Client client;
    lab.setFaults(client, "bench", "Port::readMemory 1 take 1500");
    const auto begin = std::chrono::steady_clock::now();
    Background slow(21, "P addr=0 size=4"), behind(22, "P addr=0 data=#01");
    for (int i = 0; i < 20; i++)
        EXPECT_EQ(client.result(5, "D")["name"].string, "bench");
    EXPECT_EQ(client.call(22, "D port=1 addr=0 data=#02"), "{}");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1400));
    EXPECT_FALSE(slow.isDone() && behind.isDone());
    slow.reply();
    EXPECT_EQ(behind.reply(), "{}");
}

} // namespace
} // namespace tavu::test
