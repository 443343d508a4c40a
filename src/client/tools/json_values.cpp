#include "client/tools/json_values.h"

#include "client/errors.h"
#include "client/tools/failure.h"
#include "client/tools/parsing.h"
#include "client/tools/text.h"

namespace tavu::tools {

namespace {

// JSON is printed by recursion, so there must be an end to it.
constexpr unsigned kDeepest = 100;

Json convert(const ObjectValue &value, unsigned depth)
{
    if (depth > kDeepest)
        throw client::ProtocolError("the reply is nested too deeply to be shown");
    Json result;
    switch (value.type()) {
    case ObjectType::Nil:
        break;
    case ObjectType::NegativeInteger:
        return value.asNegative();
    case ObjectType::PositiveInteger:
        return value.asPositive();
    case ObjectType::String:
        return value.asString();
    case ObjectType::Bool:
        return value.asBool();
    case ObjectType::Float:
        return value.asFloat();
    case ObjectType::Blob:
        return blobJson({value.blobData(), value.blobSize()});
    case ObjectType::Map:
        result = Json::object();
        for (uint32_t i = 0; i < value.size(); ++i)
            result.emplace(value.mapKeyAt(i), convert(value.mapValueAt(i), depth + 1));
        break;
    case ObjectType::Array:
        result = Json::array();
        for (uint32_t i = 0; i < value.size(); ++i)
            result.push_back(convert(value.arrayAt(i), depth + 1));
        break;
    }
    return result;
}

ObjectValue convert(const Json &json, unsigned depth)
{
    if (depth > kDeepest)
        throw UsageError("the parameters are nested too deeply");
    if (json.is_null())
        return ObjectValue();
    if (json.is_boolean())
        return ObjectValue::boolean(json.get<bool>());
    if (json.is_number_float())
        return ObjectValue::number(json.get<double>());
    if (json.is_number_unsigned())
        return ObjectValue::positive(json.get<uint64_t>());
    if (json.is_number_integer())
        return ObjectValue::negative(json.get<int64_t>());
    if (json.is_string())
        return ObjectValue::string(json.get<std::string>());
    if (isBlob(json)) {
        const client::Bytes bytes = parseHex(json[kBlobKey].get<std::string>());
        return ObjectValue::blob(bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
    if (json.is_array()) {
        ObjectValue array = ObjectValue::array();
        for (const Json &element : json)
            array.arrayAppend(convert(element, depth + 1));
        return array;
    }
    ObjectValue map = ObjectValue::map();
    for (const auto &[key, value] : json.items())
        map.mapAppend(key.c_str(), convert(value, depth + 1));
    return map;
}

} // namespace

bool isBlob(const Json &json)
{
    return json.is_object() && json.size() == 1 && json.contains(kBlobKey) &&
           json[kBlobKey].is_string();
}

Json blobJson(std::span<const uint8_t> bytes)
{
    return {{kBlobKey, hexText(bytes)}};
}

Json toJson(const ObjectValue &value)
{
    return convert(value, 0);
}

ObjectValue toObjectValue(const Json &json)
{
    return convert(json, 0);
}

Json toJson(const client::FileEntry &file)
{
    return {{"fileId", file.fileId},
            {"streamId", file.streamId},
            {"name", file.name},
            {"port", file.port},
            {"camera", file.camera},
            {"width", file.width},
            {"height", file.height},
            {"numFrames", file.numFrames},
            {"numDroppedFrames", file.numDroppedFrames},
            {"size", file.size},
            {"timestamp", file.timestamp},
            {"timestampText", std::to_string(file.timestamp)},
            {"time", exactTimeText(file.timestamp)},
            {"startTime", file.startTime},
            {"startTimeText", std::to_string(file.startTime)},
            {"endTime", file.endTime},
            {"endTimeText", std::to_string(file.endTime)},
            {"duration", file.duration},
            {"durationText", std::to_string(file.duration)}};
}

Json toJson(const std::vector<client::FileEntry> &files)
{
    Json list = Json::array();
    for (const client::FileEntry &file : files)
        list.push_back(toJson(file));
    return list;
}

Json toJson(const client::PortConfig &config)
{
    return {{"width", config.width},
            {"height", config.height},
            {"pixelFormat", config.pixelFormat},
            {"tapGeometry", config.tapGeometry}};
}

} // namespace tavu::tools
