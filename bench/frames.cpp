#include "cases.h"
#include "measure.h"
#include "peers/fill_ramp.h"
#include "service/transport/shared_region.h"
#include "trips.h"

#include <chrono>
#include <fcntl.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr uint16_t kWidth = 2560;
constexpr uint16_t kHeight = 1600;
constexpr size_t kPixels = size_t(kWidth) * kHeight;
constexpr size_t kFrameBytes = kPixels * 2;
constexpr int kRounds = 31;
constexpr int kFrames = 30;

/// Frames per second of \a frame called for each frame of a recording.
double framesPerSecond(const std::function<void(int)> &frame)
{
    return kFrames / secondsOf([&] {
               for (int i = 0; i < kFrames; ++i)
                   frame(i);
           });
}

void benchPlayback(Client &client, const Workplace &workplace)
{
    const uint32_t fileId = recordFrames(client, kFrames).fileId;
    const uint32_t openFileId = client.openFile(0, fileId, 0).openFileId;
    SharedRegion region;
    const int file = ::open((workplace.recordings() / std::to_string(fileId)).c_str(), O_RDONLY);
    if (file < 0 || !region.createUnique("tavu_bench", kFrameBytes, false))
        throw std::runtime_error("the peer of readFrame lacks its file or its region");

    const auto readFrame = [&](int frame) {
        client.readFrame(0, openFileId, static_cast<uint64_t>(frame));
    };
    const auto bareRead = [&](int frame) {
        const auto offset = static_cast<off_t>(frame) * static_cast<off_t>(kFrameBytes);
        if (::pread(file, region.view(), kFrameBytes, offset) != ssize_t(kFrameBytes))
            throw std::runtime_error("the recording is short");
    };
    printRow("readFrame 2560x1600, warm",
             compare(
                 kRounds, [&] { return framesPerSecond(readFrame); },
                 [&] { return framesPerSecond(bareRead); }),
             1, "frames/s", ">= 0.95");
    ::close(file);
}

void benchLive(Client &client)
{
    SharedRegion region;
    if (!region.open(client.startLive(0, 0)))
        throw std::runtime_error("the live region can't be mapped");
    auto *pixels = static_cast<uint16_t *>(region.view());

    uint16_t next = 0;
    const auto fill = [&](int) { next = fillRamp(pixels, kPixels, next); };
    printRow("liveFrame 2560x1600",
             compare(
                 kRounds, [&] { return framesPerSecond([&](int) { client.liveFrame(0, 0); }); },
                 [&] { return framesPerSecond(fill); }),
             1, "frames/s", ">= 0.90");
}

/// A frame so small that the round trip is what counts. All is on one core.
void benchSmallFrame()
{
    const std::vector<int> all = processors();
    pin({all[0]});
    Workplace workplace;
    const ServiceProcess service;
    Client client;
    configure(client, 64, 64);
    const uint32_t fileId = recordFrames(client, 1).fileId;
    const uint32_t openFileId = client.openFile(0, fileId, 0).openFileId;
    client.readFrame(0, openFileId, 0);

    const PeerProcess peer({"echo", "echo", "1", workplace.recordings() / std::to_string(fileId),
                            std::to_string(64 * 64 * 2)});
    const auto peerSocket = connectedSocket("echo");
    const std::vector<uint8_t> request = client::encodeRequest(
        static_cast<uint32_t>(Command::ReadFrame),
        {{"deviceId", uint64_t(0)}, {"openFileId", uint64_t(openFileId)}, {"frame", uint64_t(0)}});
    const Trip ours = tripOver(client.socket(), request, 1),
               theirs = tripOver(*peerSocket, request, 1);
    printRow("readFrame 64x64, warm, on one core",
             compare(
                 31, [&] { return medianTrip(ours); }, [&] { return medianTrip(theirs); }),
             1e6, "us", "<= 1.15");
    pin(all);
}

void benchLargeFrames()
{
    Workplace workplace;
    ServiceProcess service;
    Client client;
    configure(client, kWidth, kHeight);
    benchPlayback(client, workplace);
    benchLive(client);
}

} // namespace

void benchFrames()
{
    benchLargeFrames();
    benchSmallFrame();
}

} // namespace tavu::bench
