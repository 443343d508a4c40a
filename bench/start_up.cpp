#include "cases.h"
#include "encoding/file_stream.h"
#include "encoding/message_writer.h"
#include "measure.h"
#include "service_process.h"

#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr int kRounds = 9;

/// Writes the description of \a count recordings from \a firstId on, each under the name that
/// \a prefix and its id make.
void writeRecords(const std::filesystem::path &path, const std::string &prefix, uint32_t firstId,
                  uint32_t count)
{
    FileStream file(path, "wb");
    MessageWriter writer(file);
    writer.writeMapHeader(4);
    writer.writeString("orek");
    writer.writeBool(true);
    writer.writeString("type");
    writer.writeString("meta");
    writer.writeString("version");
    writer.writeUint(0);
    writer.writeString("info");
    writer.writeArrayHeader(count);
    for (uint32_t id = firstId; id < firstId + count; ++id) {
        const std::pair<const char *, std::string> texts[] = {
            {"name", prefix + std::to_string(id)}, {"port", "Emu"}, {"camera", "camera 1"}};
        const std::pair<const char *, uint64_t> numbers[] = {{"fileId", id},
                                                             {"streamId", 0},
                                                             {"width", 640},
                                                             {"height", 480},
                                                             {"numFrames", 90},
                                                             {"numDroppedFrames", 0},
                                                             {"size", 640 * 480 * 2 * 90},
                                                             {"timestamp", 133000000000000000},
                                                             {"startTime", 0},
                                                             {"endTime", 0},
                                                             {"duration", 0}};
        writer.writeMapHeader(14);
        for (const auto &[key, text] : texts) {
            writer.writeString(key);
            writer.writeString(text);
        }
        for (const auto &[key, number] : numbers) {
            writer.writeString(key);
            writer.writeUint(number);
        }
    }
}

/// What every reader of a small file must do at the least.
void readFile(const std::filesystem::path &path)
{
    char buffer[65536];
    const int file = ::open(path.c_str(), O_RDONLY);
    while (::read(file, buffer, sizeof buffer) == sizeof buffer) {
    }
    ::close(file);
}

std::filesystem::path metaFile(const std::filesystem::path &folder, uint32_t id)
{
    return folder / "Emu" / (std::to_string(id) + ".meta");
}

void writeCatalogue(const std::filesystem::path &folder, uint32_t count)
{
    writeRecords(folder / ".files", "", 1, count);
    for (uint32_t id = 1; id <= count; ++id)
        writeRecords(metaFile(folder, id), "recording ", id, 1);
}

/// From the start of a service's process to its first answer.
double startService()
{
    std::optional<ServiceProcess> service;
    return secondsOf([&] {
        service.emplace();
        Client client;
    });
}

/// From the start of a process that only reads the files to its end.
double startReader(const std::filesystem::path &folder, uint32_t count)
{
    return secondsOf([&] {
        int status = 0;
        ::waitpid(startProgram({programPath("service_bench"), "--read-records", folder.string(),
                                std::to_string(count)}),
                  &status, 0);
        if (status != 0)
            throw std::runtime_error("the reader of the catalogue failed");
    });
}

void benchCatalogue(uint32_t count)
{
    Workplace workplace;
    writeCatalogue(workplace.emulator(), count);
    {
        ServiceProcess service;
        Client client;
        if (client.call(26).mapAt("files").size() != count)
            throw std::runtime_error("the service doesn't list all recordings");
    }
    printRow(
        "start with " + std::to_string(count) + " recordings",
        compare(kRounds, startService, [&] { return startReader(workplace.emulator(), count); }),
        1e3, "ms", "<= 2.00");
}

} // namespace

void readRecords(const std::filesystem::path &folder, uint32_t count)
{
    readFile(folder / ".files");
    for (uint32_t id = 1; id <= count; ++id)
        readFile(metaFile(folder, id));
}

void benchStartUp()
{
    for (const uint32_t count : {1000, 10000})
        benchCatalogue(count);
}

} // namespace tavu::bench
