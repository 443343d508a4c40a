#pragma once

#include "client/values.h"
#include "encoding/object_value.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <vector>

namespace tavu::tools {

/// Keeps the order of keys, so that what is printed stands as the service sent it.
using Json = nlohmann::ordered_json;

/// The key of the object that stands for bytes.
inline constexpr const char *kBlobKey = "$bin";
bool isBlob(const Json &json);
Json blobJson(std::span<const uint8_t> bytes);

/// A value of the protocol as JSON. A blob becomes {"$bin": "<hexadecimal>"}. Raises
/// client::ProtocolError for a value that is nested too deeply to be meant.
Json toJson(const ObjectValue &value);

/// The reverse. Raises UsageError for what has no form in the protocol.
ObjectValue toObjectValue(const Json &json);

/// Time stamps stand there as text too, since many readers keep numbers in 53 bits.
Json toJson(const client::FileEntry &file);
Json toJson(const std::vector<client::FileEntry> &files);
Json toJson(const client::PortConfig &config);

} // namespace tavu::tools
