#pragma once

#include "client/values.h"
#include "encoding/object_value.h"

#include <cstdint>
#include <string>
#include <utility>

namespace tavu::client {

/// The values that a command brought back. Each getter raises ProtocolError when the value isn't
/// there, has another type or doesn't fit the width.
class Reply
{
public:
    Reply(std::string command, ObjectValue values)
        : command_(std::move(command)), values_(std::move(values))
    {
    }

    uint8_t u8(const char *key) const { return static_cast<uint8_t>(number(key, 0xFF)); }
    uint16_t u16(const char *key) const { return static_cast<uint16_t>(number(key, 0xFFFF)); }
    uint32_t u32(const char *key) const { return static_cast<uint32_t>(number(key, 0xFFFFFFFF)); }
    uint64_t u64(const char *key) const { return number(key, ~uint64_t(0)); }
    bool boolean(const char *key) const;
    std::string text(const char *key) const;
    Bytes bytes(const char *key) const;
    Event event(const char *key) const;
    bool has(const char *key) const;

private:
    const ObjectValue &value(const char *key, ObjectType type) const;
    uint64_t number(const char *key, uint64_t limit) const;

    std::string command_; ///< for messages
    ObjectValue values_;
};

} // namespace tavu::client
