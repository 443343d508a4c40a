#include "cases.h"
#include "catalogue.h"
#include "measure.h"
#include "peers/recorder_loop.h"
#include "recorder_lab.h"
#include "service/transport/shared_region.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tavu::bench {

namespace {

namespace fs = std::filesystem;

using Clock = std::chrono::steady_clock;

// Playback.

void benchRecorderPlayback()
{
    constexpr uint16_t kWidth = 2560;
    constexpr uint16_t kHeight = 1600;
    constexpr uint64_t kFrameBytes = uint64_t(kWidth) * kHeight * 2;
    constexpr int kFrames = 30;

    RecorderLab lab;
    lab.add("bench", "drives = 3\n");
    ServiceProcess service;
    Client client;
    client.setup(0);
    configure(client, kWidth, kHeight);
    const auto [fileId, streamId] = recordFrames(client, kFrames);
    const uint32_t openFileId = client.openFile(0, fileId, streamId).openFileId;
    RecorderLoop loop;
    loop.openStream(fileId, streamId);
    SharedRegion region;
    if (!region.createUnique("tavu_bench", kFrameBytes, false))
        throw std::runtime_error("the peer of readFrame lacks its region");

    const auto rate = [](const auto &readFrame) {
        return kFrames / secondsOf([&] {
                   for (uint64_t i = 0; i < kFrames; ++i)
                       readFrame(i);
               });
    };
    const auto ours = [&](uint64_t i) { client.readFrame(0, openFileId, i); };
    const auto bare = [&](uint64_t i) { loop.readFrame(i, region.view(), kFrameBytes); };
    printRow("recorder: readFrame 2560x1600, warm",
             compare(
                 15, [&] { return rate(ours); }, [&] { return rate(bare); }),
             1, "frames/s", ">= 0.90");
}

// Live views.

constexpr int kLiveFrames = 60;

/// Frames per second of a port that a client of its own watches.
double watchPort(uint8_t port)
{
    Client client;
    client.startLive(0, port);
    client.liveFrame(0, port);
    const double seconds = secondsOf([&] {
        for (int i = 0; i < kLiveFrames; ++i)
            client.liveFrame(0, port);
    });
    client.stopLive(0, port);
    return kLiveFrames / seconds;
}

void benchRecorderLive()
{
    RecorderLab lab;
    lab.add("bench", "ports = 2\n[ports]\nframe rate = 60\n");
    ServiceProcess service;
    Client client;
    client.setup(0);
    for (const uint8_t port : {0, 1})
        configure(client, 1280, 1024, port);

    const auto both = [] {
        auto other = std::async(std::launch::async, watchPort, 1);
        const double first = watchPort(0);
        return first + other.get();
    };
    printRow("recorder: liveFrame on two ports to one, cameras at 60 a second",
             compare(5, both, [] { return watchPort(0); }), 1, "frames/s", ">= 1.90");
}

// Connection.

/// A recorder whose drives hold \a count recordings without a frame. Reading more metadata
/// than once a file would fail.
void describeFullRecorder(RecorderLab &lab, uint32_t count)
{
    const fs::path folder = lab.add("bench", "drives = 2\n");
    const fs::path set = folder / "sets" / "1";
    fs::create_directories(set);
    writeText(set / "set.conf", "name = TAVU\ncluster size = 262144\nmetadata size = 65536\n"
                                "drive size = 4294967296\ndrives = 1 2\nnext file = " +
                                    std::to_string(count + 1) + "\n");
    for (const char *drive : {"drive-1.bin", "drive-2.bin"})
        writeText(set / drive, "");
    const std::vector<FileEntry> files = someFiles(count);
    for (uint32_t id = 1; id <= count; ++id) {
        const std::string name = std::to_string(id);
        writeText(set / (name + ".file"), "id = " + name +
                                              "\nname =\ncreated = 133000000000000000\n"
                                              "written blocks = 0\nextents =\n");
        const fs::path meta = set / (name + ".meta");
        writeRecords(meta, {files[id - 1]});
        fs::resize_file(meta, 65536);
    }
    writeText(folder / "faults.conf", "DriveFile::readMetadata " + std::to_string(count + 1) +
                                          "- raise metadata was read twice\n");
}

void benchConnection(uint32_t count)
{
    RecorderLab lab;
    describeFullRecorder(lab, count);
    {
        ServiceProcess service;
        Client client;
        if (client.listFiles(0).size() != count)
            throw std::runtime_error("the service doesn't list all files of the recorder");
    }
    printRow("recorder: connection with " + std::to_string(count) + " drive files",
             compare(15, startService, [] { return runPeer({"read-metadata"}); }), 1e3, "ms",
             count < 1000 ? "-" : "<= 1.10");
}

// A slow library call.

/// Median of deviceName of the second recorder.
double deviceNameTime(Client &client)
{
    std::vector<double> times;
    for (int i = 0; i < 1000; ++i)
        times.push_back(secondsOf([&] { client.deviceName(1); }));
    return median(std::move(times));
}

void benchSlowNeighbour()
{
    RecorderLab lab;
    const fs::path slow = lab.add("a slow one", "");
    lab.add("its neighbour", "");
    ServiceProcess service;
    Client client;
    Client patient;
    client.hardwareType(1);
    writeText(slow / "faults.conf", "Device::hardwareInfo * take 200\n");
    const auto slowCall = [&patient] { return secondsOf([&] { patient.hardwareType(0); }); };
    while (slowCall() < 0.2) {
    }

    const auto beside = [&] {
        auto call = std::async(std::launch::async, slowCall);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const double time = deviceNameTime(client);
        if (call.wait_for(std::chrono::seconds(0)) == std::future_status::ready)
            throw std::runtime_error("the slow call wasn't slow enough");
        return time;
    };
    printRow("recorder: deviceName beside a call of 200 ms on another, to idle",
             compare(9, beside, [&] { return deviceNameTime(client); }), 1e6, "us", "<= 2.00");
}

} // namespace

void benchRecorders()
{
    benchRecorderLive();
    for (const uint32_t count : {100, 1000})
        benchConnection(count);
    benchSlowNeighbour();
    // The last: it starts the recorder library in this process.
    benchRecorderPlayback();
}

} // namespace tavu::bench
