#pragma once

#include "encoding/object_value.h"
#include "wire/commands.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace tavu {

/// Bytes inside a request, valid for as long as the request.
using BytesView = std::span<const uint8_t>;

/// Reads one parameter: as the narrowest type that holds it, text as a pointer that is valid for as
/// long as the request. Raises the text that tells the client what is wrong, a missing key or a
/// wrong type. Integers are cut to their width, without a check.
template <FieldType type>
auto readParameter(const ObjectValue &value)
{
    if constexpr (type == FieldType::Bool)
        return value.asBool();
    else if constexpr (type == FieldType::U8)
        return static_cast<uint8_t>(value.asPositive());
    else if constexpr (type == FieldType::U16)
        return static_cast<uint16_t>(value.asPositive());
    else if constexpr (type == FieldType::U32)
        return static_cast<uint32_t>(value.asPositive());
    else if constexpr (type == FieldType::U64)
        return value.asPositive();
    else if constexpr (type == FieldType::Text)
        return value.asString();
    else if constexpr (type == FieldType::Blob)
        return BytesView(value.blobData(), value.blobSize());
}

template <FieldType type>
using ParameterType = decltype(readParameter<type>(std::declval<const ObjectValue &>()));

template <Command command, size_t index>
inline constexpr Field kParameter = commandInfo(command).params[index];

/// The position of a command's parameter in its list; an unknown key doesn't compile.
template <Command command>
consteval size_t parameterIndex(std::string_view key)
{
    size_t index = 0;
    while (key != commandInfo(command).params[index].key)
        ++index;
    return index;
}

template <Command command, size_t index>
auto parameterAt(const ObjectValue &params)
{
    constexpr Field field = kParameter<command, index>;
    if (field.optional && !params.mapContains(field.key))
        return ParameterType<field.type>{};
    return readParameter<field.type>(params.mapAt(field.key));
}

/// The parameters of a request, as a tuple in the order of the table, which is the order in which
/// they are read: the first fault decides the error. A command without parameters doesn't look at
/// them.
template <Command command>
auto readParameters(const ObjectValue &request)
{
    constexpr size_t count = commandInfo(command).params.size();
    if constexpr (count == 0) {
        return std::tuple<>();
    } else {
        const ObjectValue &params = request.mapAt("params");
        return [&]<size_t... index>(std::index_sequence<index...>)
        {
            // Braces: evaluated from left to right.
            return std::tuple<ParameterType<kParameter<command, index>.type>...>{
                parameterAt<command, index>(params)...};
        }
        (std::make_index_sequence<count>());
    }
}

template <Command command>
using Parameters = decltype(readParameters<command>(std::declval<const ObjectValue &>()));

} // namespace tavu
