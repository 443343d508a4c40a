#include "cases.h"
#include "measure.h"
#include "service_process.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
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
constexpr uint64_t kFrames = 80;
constexpr int kRounds = 3;

/// The processor time that a process has used so far, in seconds.
double processorTime(clockid_t clock)
{
    timespec time;
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Watches an endless recording until it should have kFrames frames; returns by how many it was
/// behind at the worst look.
int64_t watchRecording(Client &client)
{
    const auto begin = std::chrono::steady_clock::now();
    int64_t worst = 0;
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        // Frame n is due at n times the frame time. The one that is due right now may still be on
        // its way to the file.
        const auto due = (std::chrono::steady_clock::now() - begin) / kFrameTime;
        const uint64_t written =
            client.call(47, {{"deviceId", 0}, {"port", 0}}).mapAt("numFrames").asPositive();
        worst = std::max<int64_t>(worst, due - static_cast<int64_t>(written));
        if (static_cast<uint64_t>(due) + 1 >= kFrames)
            return worst;
    }
}

struct Recorded
{
    double processorSeconds; ///< of each frame
    int64_t behind;
};

Recorded record(Client &client, clockid_t clock)
{
    ObjectValue params = ObjectValue::map();
    const std::pair<const char *, uint64_t> numbers[] = {
        {"deviceId", 0}, {"portMask", 1}, {"externalTrigger", 0},
        {"type", 0},     {"count", 0},    {"pretriggerCount", 0}};
    for (const auto &[key, value] : numbers)
        params.mapAppend(key, ObjectValue::positive(value));
    params.mapAppend("usePretrigger", ObjectValue::boolean(false));

    const double before = processorTime(clock);
    client.call(42, std::move(params));
    Recorded result;
    result.behind = watchRecording(client);
    client.call(43);
    const double used = processorTime(clock) - before;
    const Params port = {{"deviceId", 0}, {"port", 0}};
    const auto frames = client.call(47, port).mapAt("numFrames").asPositive();
    result.processorSeconds = used / static_cast<double>(frames);
    client.call(31, {{"deviceId", 0},
                     {"fileId", client.call(46, port).mapAt("fileId").asPositive()},
                     {"streamId", 0}});
    return result;
}

/// The same frames at the same pace by a bare loop; returns the processor time of each.
double fillAndWrite(const std::filesystem::path &path)
{
    const int file = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    const double before = processorTime(CLOCK_PROCESS_CPUTIME_ID);
    std::vector<uint16_t> frame(kPixels);
    uint16_t counter = 0;
    auto due = std::chrono::steady_clock::now();
    for (uint64_t i = 0; i < kFrames; ++i) {
        for (size_t pixel = 0; pixel < kPixels; ++pixel)
            frame[pixel] = static_cast<uint16_t>(counter + pixel);
        counter = static_cast<uint16_t>(counter + kPixels);
        if (::write(file, frame.data(), kPixels * 2) != ssize_t(kPixels * 2))
            throw std::runtime_error("the file system has no room for a recording");
        due += kFrameTime;
        std::this_thread::sleep_until(due);
    }
    const double used = processorTime(CLOCK_PROCESS_CPUTIME_ID) - before;
    ::close(file);
    std::filesystem::remove(path);
    return used / static_cast<double>(kFrames);
}

} // namespace

void benchRecording()
{
    Workplace workplace;
    ServiceProcess service;
    Client client;
    configure(client, kWidth, kHeight);
    clockid_t clock;
    if (::clock_getcpuclockid(service.pid(), &clock) != 0)
        throw std::runtime_error("the service's processor time can't be read");

    std::vector<double> behind;
    const Comparison comparison = compare(
        kRounds,
        [&] {
            const Recorded recorded = record(client, clock);
            behind.push_back(static_cast<double>(recorded.behind));
            return recorded.processorSeconds;
        },
        [&] { return fillAndWrite(workplace.recordings() / "peer"); });
    printRow("recording 4096x3072: processor time of a frame", comparison, 1e3, "ms", "<= 1.25");
    printRow("recording 4096x3072: frames behind, at worst",
             figure(*std::max_element(behind.begin(), behind.end()), ""), "-", "-", "<= 1");
}

} // namespace tavu::bench
