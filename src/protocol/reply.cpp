#include "protocol/reply.h"

#include <string_view>

namespace tavu {

namespace {

/// Counted once and for all: a list has a thousand times the same keys.
template <const FieldList &fields>
inline constexpr auto kKeyLengths = [] {
    std::array<size_t, fields.size()> lengths{};
    for (size_t i = 0; i < fields.size(); ++i)
        lengths[i] = std::string_view(fields[i].key).size();
    return lengths;
}();

/// Writes a map whose keys the wire has laid down, value by value.
template <const FieldList &fields>
class FieldWriter
{
public:
    explicit FieldWriter(MessageWriter &writer) : writer_(writer)
    {
        writer.writeMapHeader(static_cast<uint32_t>(fields.size()));
    }

    FieldWriter &text(const std::string &value)
    {
        key();
        writer_.writeString(value);
        return *this;
    }
    FieldWriter &number(uint64_t value)
    {
        key();
        writer_.writeUint(value);
        return *this;
    }

private:
    void key()
    {
        writer_.writeString(fields[index_].key, kKeyLengths<fields>[index_]);
        ++index_;
    }

    MessageWriter &writer_;
    size_t index_ = 0;
};

void writeFile(MessageWriter &writer, const FileRecord &file)
{
    FieldWriter<kFileFields>(writer)
        .text(file.name)
        .text(file.port)
        .text(file.camera)
        .number(file.fileId)
        .number(file.streamId)
        .number(file.width)
        .number(file.height)
        .number(file.numFrames)
        .number(file.numDroppedFrames)
        .number(file.size)
        .number(file.timestamp)
        .number(file.duration)
        .number(file.startTime)
        .number(file.endTime);
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
        FieldWriter<kEventFields>(writer)
            .number(static_cast<uint32_t>(event.type))
            .number(event.device)
            .number(event.port);
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
    writeResult(writer, count_);
    for (uint32_t i = 0; i < count_; ++i) {
        writer.writeString(fields_[i].key);
        std::visit(ValueWriter{writer}, fields_[i].value);
    }
}

void writeResult(MessageWriter &writer, uint32_t count)
{
    if (count == 0) {
        writer.writeMapHeader(0);
        return;
    }
    writer.writeMapHeader(1);
    writer.writeString("result");
    writer.writeMapHeader(count);
}

void writeError(MessageWriter &writer, const char *text)
{
    writer.writeMapHeader(1);
    writer.writeString("error");
    writer.writeString(text);
}

} // namespace tavu
