#include "client/connection.h"
#include "client/playback.h"
#include "harness/recording.h"
#include "harness/service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

namespace tavu::test {
namespace {

using namespace client;

/// What people link and type, against the service with each kind of device.
class ClientTest : public testing::TestWithParam<bool>
{
protected:
    ClientTest()
    {
        lab_.describe("Bench", "[ports]\nframe rate = 200\n");
        service_.emplace(std::vector<std::string>{"noautoclose"},
                         isRecorder_ ? lab_.path() : std::string());
        Client(); // once this is through, the service listens
    }

    const bool isRecorder_ = GetParam();
    Lab lab_;
    std::optional<Service> service_;
};

Bytes bytesOf(const FrameView &frame)
{
    return {reinterpret_cast<const char *>(frame.pixels.data()), frame.pixels.size_bytes()};
}

TEST(ClientsTest, ManyConnectAtOnce)
{
    Service service({"noautoclose"});
    Client().result("deviceCount"); // the service listens
    std::atomic<int> answers{0};
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 16; ++i) {
            threads.emplace_back([&answers] {
                for (int round = 0; round < 20; ++round)
                    answers += Connection().deviceCount() == 1;
            });
        }
    }
    EXPECT_EQ(answers, 16 * 20);
}

TEST_P(ClientTest, TheLibraryShowsFramesAndEvents)
{
    Connection connection, watcher;
    const uint32_t queue = watcher.createEventQueue();
    if (isRecorder_)
        connection.setup(0);
    connection.pairPort(0, 0, {"Cam", {1, 2}, 3});
    connection.setPortConfig(0, 0, {64, 48, 5, 6});
    connection.startRecording(0, {.stopCondition = StopCondition::FrameCount, .count = 5});
    EXPECT_TRUE(waitUntil([&] { return connection.isRecordingDone(0); }));
    connection.stopRecording(0);
    const FileEntry file = connection.listFiles(0).at(0);
    EXPECT_EQ("Cam 5 64 48",
              concat(file.camera, ' ', file.numFrames, ' ', file.width, ' ', file.height));
    Playback playback(connection, 0, file.fileId, file.streamId);
    for (uint64_t number : {0, 1, 2, 3, 4, 0})
        EXPECT_EQ(isRecorder_ ? simulatedFrame(0, number, 64, 48) : expectedFrame(number, 64, 48),
                  bytesOf(playback.frame(number)));
    LiveView live(connection, 0, 0);
    EXPECT_NE(bytesOf(live.frame()), bytesOf(live.frame()));

    std::vector<EventType> events;
    while (const auto event = watcher.tryReadEvent(queue))
        events.push_back(event->type);
    EXPECT_EQ((std::vector{EventType::PairingChanged, EventType::RecordingStarted,
                           EventType::RecordingStopped}),
              events);
}

TEST_P(ClientTest, TavuctlDoesWhatAUserTypes)
{
    const std::string folder = service_->folder.path.string();
    const struct
    {
        std::vector<std::string> words;
        int status;
        std::string output; ///< somewhere in what is printed, on either stream
    } steps[] = {
        {{"status"}, 0, "1 device\n"},
        {{"record", "--frames", "5"},
         1,
         isRecorder_ ? "tavuctl: No drive set.\n`tavuctl setup` prepares the recorder's drives\n"
                     : "tavuctl: Not paired/configured.\n"
                       "port 0 isn't paired with a camera: `tavuctl pair CAMERA`\n"},
        {{"setup", "--yes"}, 0, "is ready to record\n"},
        {{"pair", "My camera"}, 0, "port 0 is paired with \"My camera\"\n"},
        {{"configure", "64x48"}, 0, "port 0 records frames of 64x48"},
        {{"record", "--frames", "5"}, 0, "): 5 frames of 64x48"},
        {{"rename", "last", "First one"}, 0, " is called \"First one\"\n"},
        {{"files"}, 0, "  First one  "},
        {{"play", "First one", "--check"}, 0, "; every frame is the right one\n"},
        {{"live", "--frames", "2"}, 0, "port 0: 2 frames of 64x48"},
        {{"live", "-o", folder + "/live.pgm"}, 0, "wrote " + folder + "/live.pgm\n"},
        {{"remove", "First one", "--yes"}, 0, "removed file "},
        {{"play", "last"}, 1, "tavuctl: there is no recording \"last\""},
        {{"remvoe", "last"}, 2, "has no command \"remvoe\"; did you mean remove?"},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(testing::PrintToString(step.words));
        const std::string output = folder + "/ctl";
        std::filesystem::remove(output);
        ChildProcess process(TAVUCTL_PATH, step.words, output, output);
        ASSERT_TRUE(waitUntil([&] { return process.exitStatus().has_value(); }));
        EXPECT_EQ(step.status, process.exitStatus());
        EXPECT_NE(std::string::npos, readLines(output).find(step.output)) << readLines(output);
    }
    EXPECT_EQ("P5\n64 48\n65535\n", readFile(folder + "/live.pgm").substr(0, 15));
}

INSTANTIATE_TEST_SUITE_P(Devices, ClientTest, testing::Bool());

} // namespace
} // namespace tavu::test
