#include "protocol/reply.h"
#include "platform/diagnostics.h"

namespace tavu {

namespace {

void writeFile(MessageWriter &writer, const FileRecord &file)
{
    writer.writeMapHeader(14);
    writer.writeString("name");
    writer.writeString(file.name);
    writer.writeString("port");
    writer.writeString(file.port);
    writer.writeString("camera");
    writer.writeString(file.camera);
    const std::pair<const char *, uint64_t> numbers[] = {
        {"fileId", file.fileId},       {"streamId", file.streamId},
        {"width", file.width},         {"height", file.height},
        {"numFrames", file.numFrames}, {"numDroppedFrames", file.numDroppedFrames},
        {"size", file.size},           {"timestamp", file.timestamp},
        {"duration", file.duration},   {"startTime", file.startTime},
        {"endTime", file.endTime},
    };
    for (const auto &[key, value] : numbers) {
        writer.writeString(key);
        writer.writeUint(value);
    }
}

/// Writes one value of a reply, by its type.
struct ValueWriter
{
    MessageWriter &writer;

    void operator()(bool value) const { writer.writeBool(value); }
    void operator()(uint64_t value) const { writer.writeUint(value); }
    void operator()(const std::string &value) const { writer.writeString(value); }
    void operator()(const ByteBlock &value) const
    {
        writer.writeBlob(value.data(), static_cast<uint32_t>(value.size()));
    }
    void operator()(const OwnedBytes &value) const
    {
        writer.writeBlob(value.bytes.get(), value.size);
    }
    void operator()(const DeviceEvent &event) const
    {
        writer.writeMapHeader(3);
        writer.writeString("type");
        writer.writeUint(static_cast<uint32_t>(event.type));
        writer.writeString("device");
        writer.writeUint(event.device);
        writer.writeString("port");
        writer.writeUint(event.port);
    }
    void operator()(const std::vector<FileRecord> &files) const
    {
        writer.writeArrayHeader(static_cast<uint32_t>(files.size()));
        for (const FileRecord &file : files)
            writeFile(writer, file);
    }
};

} // namespace

void Reply::write(MessageWriter &writer) const
{
    sendResult(writer, count_);
    for (uint32_t i = 0; i < count_; ++i) {
        writer.writeString(fields_[i].key);
        std::visit(ValueWriter{writer}, fields_[i].value);
    }
}

void sendResult(MessageWriter &writer, uint32_t count)
{
    if (count == 0) {
        writer.writeMapHeader(0);
        return;
    }
    writer.writeMapHeader(1);
    writer.writeString("result");
    writer.writeMapHeader(count);
}

void sendError(MessageWriter &writer, const char *text)
{
    writer.writeMapHeader(1);
    writer.writeString("error");
    writer.writeString(text);
    printLine(stdout, "ResponseError: %s\n", text);
}

} // namespace tavu
