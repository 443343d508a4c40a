#pragma once

#include "encoding/message_writer.h"
#include "registry/file_record.h"
#include "wire/commands.h"

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
    using Value = std::variant<bool, uint64_t, std::string, ByteBlock, OwnedBytes, DeviceEvent,
                               std::vector<FileRecord>>;

    /// Whether a value stands on the wire as the table of commands says.
    template <FieldType type, typename T>
    static constexpr bool fits()
    {
        switch (type) {
        case FieldType::Bool:
            return std::same_as<T, bool>;
        case FieldType::U8:
            return std::same_as<T, uint8_t>;
        case FieldType::U16:
            return std::same_as<T, uint16_t>;
        case FieldType::U32:
            return std::same_as<T, uint32_t>;
        case FieldType::U64:
            return std::same_as<T, uint64_t>;
        case FieldType::Text:
            return std::same_as<T, std::string>;
        case FieldType::Blob:
            return std::same_as<T, ByteBlock> || std::same_as<T, OwnedBytes>;
        case FieldType::Event:
            return std::same_as<T, DeviceEvent>;
        case FieldType::Files:
            return std::same_as<T, std::vector<FileRecord>>;
        }
        return false;
    }

    void add(const char *key, Value value)
    {
        fields_.at(count_) = Pair{key, std::move(value)};
        ++count_;
    }

    void write(MessageWriter &writer) const;

private:
    struct Pair
    {
        const char *key;
        Value value;
    };
    static constexpr size_t kMostValues = 5;

    std::array<Pair, kMostValues> fields_{};
    uint32_t count_ = 0;
};

/// Writes the head of a result: the map of "result" to a map of \a count pairs, which the caller
/// writes next. For 0 pairs the whole reply is the empty map.
void writeResult(MessageWriter &writer, uint32_t count);

/// Writes an error reply.
void writeError(MessageWriter &writer, const char *text);

} // namespace tavu
