#include "recording.h"

#include <atomic>
#include <gtest/gtest.h>

namespace tavu::test {

std::string idsOf(const Value &file)
{
    return concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number);
}

void configure(Client &client, uint32_t width, uint32_t height)
{
    client.does("pairPort", "P identity='Cam' info=#0102 numFramesPerPacket=3");
    client.does("setPortConfig",
                concat("P width=", width, " height=", height, " pixelFormat=5 tapGeometry=6"));
}

void configurePorts(Client &client, uint32_t count, uint32_t width, uint32_t height)
{
    for (uint32_t port = 0; port < count; ++port) {
        const std::string place = concat("D port=", port);
        client.does("pairPort",
                    concat(place, " identity='Cam ", port, "' info=# numFramesPerPacket=3"));
        client.does("setPortConfig", concat(place, " width=", width, " height=", height,
                                            " pixelFormat=5 tapGeometry=0"));
    }
}

std::string recordingOf(uint32_t portMask, std::string_view more)
{
    return concat("D portMask=", portMask, " externalTrigger=0 usePretrigger=false ",
                  "pretriggerCount=0 ", more);
}

void startRecording(Client &client, uint32_t portMask, uint64_t frameCount)
{
    client.does("startRecording", recordingOf(portMask));
    for (uint32_t port = 0; portMask >> port != 0; ++port) {
        const std::string place = concat("D port=", port);
        EXPECT_TRUE((portMask >> port & 1) == 0 || waitUntil([&] {
                        return client.result("recordingProgress", place)["numFrames"].number >=
                               frameCount;
                    }));
    }
}

uint64_t record(Client &client, uint64_t frameCount, uint32_t portMask)
{
    client.does("startRecording", recordingOf(portMask, concat("type=1 count=", frameCount)));
    EXPECT_TRUE(
        waitUntil([&] { return client.result("isRecordingDone", "D")["done"].text == "true"; }));
    client.does("stopRecording", "D");
    return client.result("recordingFile", "P")["fileId"].number;
}

void setFaults(const Lab &lab, Client &client, const std::string &recorder, std::string_view text)
{
    // The last fault of the file shows that the library has read it.
    static std::atomic<int> marks = 0;
    const std::string mark = concat("mark ", ++marks);
    lab.write(recorder, "faults.conf",
              concat(text, "\nDevice::connectionState 1 raise ", mark, "\n"));
    EXPECT_TRUE(waitUntil([&] { return client.call("deviceConnected", "D") == error(mark); }));
}

} // namespace tavu::test
