#pragma once

#include "encoding/mem_stream.h"
#include "encoding/memory_sink.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "support/error_of.h"
#include "support/wire.h"

#include <stdexcept>

namespace tavu::test {

/// A reader of some bytes, either in place or through a stream that the reader can't look into.
/// Keeps what each read of that stream asked for.
struct Reading final : Stream
{
    Reading(Bytes all, bool inPlace)
        : bytes(std::move(all)), memory(bytes.data(), bytes.size()),
          reader(inPlace ? static_cast<Stream &>(memory) : *this)
    {
    }
    uint64_t read(void *buffer, uint64_t byteCount) override
    {
        reads.push_back(byteCount);
        return memory.read(buffer, byteCount);
    }
    uint64_t write(const void *, uint64_t) override { return 0; }

    Bytes bytes;
    MemStream memory;
    MessageReader reader;
    std::vector<uint64_t> reads;
};

/// What \a write writes, both as a stream of any kind and as memory takes it. Raises
/// std::logic_error when these differ.
inline Bytes encoded(const std::function<void(MessageWriter &)> &write)
{
    MemorySink sink;
    MessageWriter sinkWriter(sink);
    write(sinkWriter);
    const Bytes bytes(sink.bytes().begin(), sink.bytes().end());
    Bytes memory(bytes.size() + 1, '?');
    MemStream stream(memory.data(), memory.size());
    MessageWriter writer(stream);
    write(writer);
    if (stream.remaining() != 1 || memory != bytes + '?')
        throw std::logic_error("encoding into memory differs from encoding onto a stream");
    return bytes;
}

inline Bytes encoded(const ObjectValue &tree)
{
    return encoded([&](MessageWriter &writer) { writer.writeObject(tree); });
}

} // namespace tavu::test
