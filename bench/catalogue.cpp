#include "catalogue.h"

#include "encoding/file_stream.h"

#include <type_traits>

namespace tavu::bench {

std::vector<FileEntry> someFiles(uint32_t count)
{
    std::vector<FileEntry> files;
    for (uint32_t id = 1; id <= count; ++id) {
        const uint64_t frames = 90 + id % 1000,
                       start = 133'000'000'000'000'000u + id * 1'000'000'000u;
        const uint64_t duration = frames * 333'333;
        files.push_back({"Recording " + std::to_string(1000 + id), "Port " + std::to_string(id % 4),
                         "Camera " + std::to_string(id % 4), id, id % 4, 2560, 1600, frames, id % 3,
                         frames * 2560 * 1600 * 2, start, duration, start, start + duration});
    }
    return files;
}

namespace {

/// Each entry is a map.
void writeFiles(MessageWriter &writer, const std::vector<FileEntry> &files)
{
    for (const FileEntry &file : files) {
        writer.writeMapHeader(kPairsPerFile);
        forEachPair(file, [&](const char *key, const auto &value) {
            writer.writeString(key);
            if constexpr (std::is_same_v<decltype(value), const std::string &>)
                writer.writeString(value);
            else
                writer.writeUint(value);
        });
    }
}

} // namespace

void writeFilesReply(MessageWriter &writer, const std::vector<FileEntry> &files)
{
    writer.writeMapHeader(1);
    writer.writeString("result");
    writer.writeMapHeader(1);
    writer.writeString("files");
    writer.writeArrayHeader(static_cast<uint32_t>(files.size()));
    writeFiles(writer, files);
}

void writeRecords(const std::string &path, const std::vector<FileEntry> &files)
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
    // The service, which writes no longer lists than the shorter head can tell, reads any.
    const auto count = static_cast<uint32_t>(files.size());
    const unsigned char head[] = {0xDD, uint8_t(count >> 24), uint8_t(count >> 16),
                                  uint8_t(count >> 8), uint8_t(count)};
    writer.writeRaw(head, sizeof head);
    writeFiles(writer, files);
}

std::string recordFile(const std::string &emulatorFolder, uint32_t fileId)
{
    return emulatorFolder + "/Emu/" + std::to_string(fileId) + ".meta";
}

void plantCatalogue(const std::string &emulatorFolder, uint32_t count)
{
    std::vector<FileEntry> files = someFiles(count);
    for (FileEntry &file : files) {
        writeRecords(recordFile(emulatorFolder, file.fileId), {file});
        // The catalogue itself says under which name and port the record is.
        file.name = std::to_string(file.fileId);
        file.port = "Emu";
    }
    writeRecords(emulatorFolder + "/.files", files);
}

} // namespace tavu::bench
