#include "client/request.h"

#include "encoding/memory_sink.h"
#include "encoding/message_writer.h"

namespace tavu::client {

namespace {

/// Writes a parameter's value, whatever its type.
struct ValueWriter
{
    MessageWriter &writer;

    void operator()(uint64_t value) { writer.writeUint(value); }
    void operator()(bool value) { writer.writeBool(value); }
    void operator()(std::string_view text) { writer.writeString(text.data(), text.size()); }
    void operator()(std::span<const uint8_t> bytes)
    {
        writer.writeBlob(bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
};

void writeAction(MessageWriter &writer, uint32_t pairCount, const char *action)
{
    writer.writeMapHeader(pairCount);
    writer.writeString("act");
    writer.writeString(action);
}

void writeCommand(MessageWriter &writer, uint32_t pairCount, uint32_t ordinal)
{
    writeAction(writer, pairCount, "exec");
    writer.writeString("ord");
    writer.writeUint(ordinal);
}

} // namespace

std::vector<uint8_t> encodeHandshake(uint64_t version)
{
    MemorySink sink;
    MessageWriter writer(sink);
    writeAction(writer, 2, "verCheck");
    writer.writeString("ver");
    writer.writeUint(version);
    return sink.take();
}

std::vector<uint8_t> encodeRequest(uint32_t ordinal, std::initializer_list<Param> params)
{
    MemorySink sink;
    MessageWriter writer(sink);
    writeCommand(writer, 3, ordinal);
    writer.writeString("params");
    writer.writeMapHeader(static_cast<uint32_t>(params.size()));
    for (const Param &param : params) {
        writer.writeString(param.key);
        std::visit(ValueWriter{writer}, param.value);
    }
    return sink.take();
}

std::vector<uint8_t> encodeRequest(uint32_t ordinal, const ObjectValue &params)
{
    const bool hasParams = params.type() != ObjectType::Nil;
    MemorySink sink;
    MessageWriter writer(sink);
    writeCommand(writer, hasParams ? 3 : 2, ordinal);
    if (hasParams) {
        writer.writeString("params");
        writer.writeObject(params);
    }
    return sink.take();
}

} // namespace tavu::client
