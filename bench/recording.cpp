#include "cases.h"
#include "measure.h"
#include "peers/fill_ramp.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr uint16_t kWidth = 4096;
constexpr uint16_t kHeight = 3072;
constexpr size_t kPixels = size_t(kWidth) * kHeight;
constexpr auto kFrameTime = std::chrono::milliseconds(33);
/// As many as stay below the 2 GiB that the emulated device can count.
constexpr int64_t kFrames = 60;
constexpr int kRounds = 3;

/// The processor time that a process has used so far, in seconds.
double processorTime(clockid_t clock)
{
    timespec time;
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

struct Recorded
{
    double processorSeconds; ///< of each frame
    int64_t behind;          ///< frames that should have been written and weren't, at worst
};

using Instant = std::chrono::steady_clock::time_point;

/// Frame n is due at n times the frame time; the one that is due right now may be on its way yet.
int64_t framesDue(Instant begin)
{
    return (std::chrono::steady_clock::now() - begin) / kFrameTime;
}

/// Watches an endless recording until it should have kFrames frames; returns by how many it was
/// behind at the worst look.
int64_t watchRecording(Client &client)
{
    const Instant begin = std::chrono::steady_clock::now();
    int64_t worst = 0;
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const int64_t due = framesDue(begin);
        const auto written = static_cast<int64_t>(client.recordingProgress(0, 0).numFrames);
        worst = std::max(worst, due - written);
        if (due + 1 >= kFrames)
            return worst;
    }
}

Recorded record(Client &client, clockid_t clock)
{
    const double before = processorTime(clock);
    client.startRecording(0, {});
    Recorded result;
    result.behind = watchRecording(client);
    client.stopRecording(0);
    const double used = processorTime(clock) - before;
    result.processorSeconds = used / static_cast<double>(client.recordingProgress(0, 0).numFrames);
    client.removeFile(0, client.recordingFile(0, 0).fileId, 0);
    return result;
}

/// The same frames at the same pace by a bare loop.
Recorded fillAndWrite(const std::filesystem::path &path)
{
    const int file = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    const double before = processorTime(CLOCK_PROCESS_CPUTIME_ID);
    const std::unique_ptr<uint16_t[]> frame(new uint16_t[kPixels]);
    uint16_t next = 0;
    Recorded result{};
    const Instant begin = std::chrono::steady_clock::now();
    for (int64_t i = 0; i < kFrames; ++i) {
        next = fillRamp(frame.get(), kPixels, next);
        if (::write(file, frame.get(), kPixels * 2) != ssize_t(kPixels * 2))
            throw std::runtime_error("the file system has no room for a recording");
        result.behind = std::max(result.behind, framesDue(begin) - i);
        std::this_thread::sleep_until(begin + (i + 1) * kFrameTime);
    }
    result.processorSeconds = (processorTime(CLOCK_PROCESS_CPUTIME_ID) - before) / kFrames;
    ::close(file);
    std::filesystem::remove(path);
    return result;
}

void benchRecordingTo(const std::filesystem::path &root, const std::string &where)
{
    Workplace workplace(root);
    ServiceProcess service;
    Client client;
    configure(client, kWidth, kHeight);
    clockid_t clock;
    if (::clock_getcpuclockid(service.pid(), &clock) != 0)
        throw std::runtime_error("the service's processor time can't be read");

    int64_t behind[2] = {};
    const auto note = [](int64_t &worst, const Recorded &recorded) {
        worst = std::max(worst, recorded.behind);
        return recorded.processorSeconds;
    };
    const Comparison comparison = compare(
        kRounds, [&] { return note(behind[0], record(client, clock)); },
        [&] { return note(behind[1], fillAndWrite(workplace.recordings() / "peer")); });
    const std::string name = "recording 4096x3072 to " + where;
    // Where the file system is too slow for the floor itself, the ratio compares how the kernel
    // holds the two up.
    printRow(name + ": processor time of a frame", comparison, 1e3, "ms",
             behind[1] <= 1 ? "<= 1.25" : "-");
    printFigures(name + ": frames behind, at worst", static_cast<double>(behind[0]),
                 static_cast<double>(behind[1]), "frames", "<= peer");
}

} // namespace

void benchRecording()
{
    benchRecordingTo("/dev/shm", "memory");
    benchRecordingTo(std::filesystem::temp_directory_path(), "disk");
}

} // namespace tavu::bench
