#pragma once

#include "encoding/message_writer.h"
#include "registry/device_event.h"
#include "registry/file_record.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tavu {

/// Bytes that a command read for its client.
struct OwnedBytes
{
    std::unique_ptr<uint8_t[]> bytes;
    uint32_t size = 0;
};

/// The answer to a command that succeeded, complete before its first byte is written: a failure
/// never follows a partly written reply. Without values it is the empty map.
class Reply
{
public:
    Reply &&add(const char *key, bool value) && { return put(key, value); }
    template <std::unsigned_integral Integer>
    requires(!std::same_as<Integer, bool>) Reply && add(const char *key, Integer value) && {
        return put(key, static_cast<uint64_t>(value));
    }
    Reply &&add(const char *key, std::string value) && { return put(key, std::move(value)); }
    Reply &&add(const char *key, ByteBlock value) && { return put(key, std::move(value)); }
    Reply &&add(const char *key, OwnedBytes value) && { return put(key, std::move(value)); }
    Reply &&add(const char *key, const DeviceEvent &value) && { return put(key, value); }
    Reply &&add(const char *key, std::vector<FileRecord> value) &&
    {
        return put(key, std::move(value));
    }

    void write(MessageWriter &writer) const;

private:
    using Value = std::variant<bool, uint64_t, std::string, ByteBlock, OwnedBytes, DeviceEvent,
                               std::vector<FileRecord>>;
    struct Field
    {
        const char *key;
        Value value;
    };
    static constexpr size_t kMaxFields = 5;

    template <typename T>
    Reply &&put(const char *key, T &&value)
    {
        fields_.at(count_) = Field{key, Value(std::forward<T>(value))};
        ++count_;
        return std::move(*this);
    }

    std::array<Field, kMaxFields> fields_{};
    uint32_t count_ = 0;
};

/// Writes the head of a result: the map of "result" to a map of \a count pairs, which the caller
/// writes next. For 0 pairs the whole reply is the empty map.
void sendResult(MessageWriter &writer, uint32_t count);

/// Writes an error reply, and then a line about it on standard output.
void sendError(MessageWriter &writer, const char *text);

} // namespace tavu
