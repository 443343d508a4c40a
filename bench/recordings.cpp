#include "recordings.h"

#include <chrono>
#include <thread>

namespace tavu::bench {

void configure(client::Connection &client, uint16_t width, uint16_t height, uint8_t port)
{
    client.pairPort(0, port, {"bench", {}, 1});
    client.setPortConfig(0, port, {width, height, 0, 0});
}

client::RecordingTarget recordFrames(client::Connection &client, int frames)
{
    client::RecordingSettings settings;
    settings.stopCondition = StopCondition::FrameCount;
    settings.count = static_cast<uint64_t>(frames);
    client.startRecording(0, settings);
    while (!client.isRecordingDone(0))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    client.stopRecording(0);
    return client.recordingFile(0, 0);
}

} // namespace tavu::bench
