#include "meta_records.h"

#include "encoding/file_stream.h"
#include "encoding/message_writer.h"

namespace tavu::bench {

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

} // namespace tavu::bench
