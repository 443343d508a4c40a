#pragma once

#include "encoding/object_value.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace tavu::client {

/// One parameter of a command. What it refers to must live until the request is encoded.
struct Param
{
    const char *key;
    std::variant<uint64_t, bool, std::string_view, std::span<const uint8_t>> value;
};

// Requests in the form in which they go over the pipe, whole, so that each can be one write.

std::vector<uint8_t> encodeHandshake(uint64_t version);
std::vector<uint8_t> encodeRequest(uint32_t ordinal, std::initializer_list<Param> params);
/// With parameters of any kind; a nil value leaves "params" out.
std::vector<uint8_t> encodeRequest(uint32_t ordinal, const ObjectValue &params);

} // namespace tavu::client
