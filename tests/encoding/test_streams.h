#pragma once

#include "encoding/mem_stream.h"
#include "encoding/memory_sink.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "encoding/read_ahead.h"
#include "encoding/write_behind.h"
#include "support/error_of.h"
#include "support/wire.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <utility>

namespace tavu::test {

enum class Way
{
    InPlace, ///< of a MemStream
    Ahead,   ///< through a ReadAhead of a few bytes
    Apart,   ///< through a stream that the reader can't look into
};

/// A reader of some bytes. Keeps what each read asked for of the stream that it can't look into.
struct Reading final : Stream
{
    Reading(Bytes all, Way way)
        : bytes(std::move(all)), memory(bytes.data(), bytes.size()),
          reader(way == Way::InPlace ? memory
                 : way == Way::Ahead ? static_cast<Stream &>(ahead)
                                     : *this)
    {
    }
    uint64_t read(void *target, uint64_t byteCount) override
    {
        reads.push_back(byteCount);
        return memory.read(target, byteCount);
    }
    uint64_t write(const void *, uint64_t) override { return 0; }
    /// Bytes that the reader hasn't taken.
    uint64_t left() { return memory.remaining() + ahead.window().left(); }

    Bytes bytes;
    MemStream memory;
    uint8_t few[21];
    ReadAhead ahead{[this](void *target, uint64_t byteCount) {
                        return memory.remaining() == 0 ? 0 : memory.read(target, byteCount);
                    },
                    few};
    MessageReader reader;
    std::vector<uint64_t> reads;
};

/// What \a write writes, as a stream of any kind takes it, as memory does, and collected. Raises
/// std::logic_error when these differ.
inline Bytes encoded(const std::function<void(MessageWriter &)> &write)
{
    MemorySink sink, target;
    MessageWriter sinkWriter(sink);
    write(sinkWriter);
    Bytes bytes(sink.bytes().begin(), sink.bytes().end());
    WriteBehind behind(target);
    MessageWriter behindWriter(behind);
    write(behindWriter);
    if (!behind.flush() || target.bytes() != sink.bytes())
        throw std::logic_error("encoding differs when it is collected");
    for (const size_t room : {1u, 40u}) {
        Bytes memory(bytes.size() + room, '?');
        MemStream stream(memory.data(), memory.size());
        MessageWriter writer(stream);
        write(writer);
        if (stream.remaining() != room || memory != bytes + Bytes(room, '?'))
            throw std::logic_error("encoding into memory differs from encoding onto a stream");
    }
    return bytes;
}

inline Bytes encoded(const ObjectValue &tree)
{
    return encoded([&](MessageWriter &writer) { writer.writeObject(tree); });
}

} // namespace tavu::test
