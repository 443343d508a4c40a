#pragma once

#include "encoding/mem_stream.h"
#include "encoding/memory_sink.h"
#include "encoding/message_writer.h"
#include "support/error_of.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavu::test {

using Bytes = std::vector<uint8_t>;

/// The bytes that hexadecimal digits stand for; blanks between bytes are skipped.
inline Bytes hex(const std::string &digits)
{
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] != ' ')
            bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline Bytes operator+(const Bytes &left, const Bytes &right)
{
    Bytes sum(left.size() + right.size());
    std::copy(right.begin(), right.end(), std::copy(left.begin(), left.end(), sum.begin()));
    return sum;
}

/// Keeps each write apart.
class WriteLog final : public Stream
{
public:
    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        auto *bytes = static_cast<const uint8_t *>(buffer);
        writes.emplace_back(bytes, bytes + byteCount);
        return byteCount;
    }

    std::vector<Bytes> writes;
};

/// Reads as a file does, with a short count at the end, and keeps what each read asked for.
class ReadLog final : public Stream
{
public:
    explicit ReadLog(Bytes bytes) : bytes_(std::move(bytes)) {}
    uint64_t read(void *buffer, uint64_t byteCount) override
    {
        reads.push_back(byteCount);
        const uint64_t count = std::min<uint64_t>(byteCount, bytes_.size() - position_);
        if (count > 0)
            std::memcpy(buffer, bytes_.data() + position_, count);
        position_ += count;
        return count;
    }
    uint64_t write(const void *, uint64_t) override { return 0; }
    bool atEnd() const { return position_ == bytes_.size(); }

    std::vector<uint64_t> reads;

private:
    Bytes bytes_;
    uint64_t position_ = 0;
};

/// What \a write writes, both as a stream of any kind and as memory takes it. Raises
/// std::logic_error when these differ.
inline Bytes encoded(const std::function<void(MessageWriter &)> &write)
{
    MemorySink sink;
    MessageWriter sinkWriter(sink);
    write(sinkWriter);
    Bytes bytes = sink.take();
    Bytes memory(bytes.size() + 1, 0xEE);
    MemStream stream(memory.data(), memory.size());
    MessageWriter writer(stream);
    write(writer);
    if (stream.remaining() != 1 || bytes + hex("ee") != memory)
        throw std::logic_error("encoding into memory differs from encoding onto a stream");
    return bytes;
}

inline Bytes encoded(const ObjectValue &tree)
{
    return encoded([&](MessageWriter &writer) { writer.writeObject(tree); });
}

} // namespace tavu::test
