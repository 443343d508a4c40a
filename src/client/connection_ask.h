#pragma once

#include "client/connection.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace tavu::client {

// Connection::ask<Command>(arguments...) sends any command of the table in wire/commands.h. The
// table gives the keys and types: one argument per parameter, and the results come back as one
// value, as a tuple of several, or not at all.

/// The value of a result.
template <FieldType type>
auto readValue(const Reply &reply, const char *key)
{
    if constexpr (type == FieldType::Bool)
        return reply.boolean(key);
    else if constexpr (type == FieldType::U8)
        return reply.u8(key);
    else if constexpr (type == FieldType::U16)
        return reply.u16(key);
    else if constexpr (type == FieldType::U32)
        return reply.u32(key);
    else if constexpr (type == FieldType::U64)
        return reply.u64(key);
    else if constexpr (type == FieldType::Text)
        return reply.text(key);
    else if constexpr (type == FieldType::Blob)
        return reply.bytes(key);
    else if constexpr (type == FieldType::Event)
        return reply.event(key);
}

/// The value of a result; a std::optional where the table lets the result be missing.
template <FieldType type, bool optional>
auto readResult(const Reply &reply, const char *key)
{
    if constexpr (optional)
        return reply.has(key) ? std::optional(readValue<type>(reply, key)) : std::nullopt;
    else
        return readValue<type>(reply, key);
}

/// A parameter for encodeRequest(). A number must be given in exactly the width of the table.
template <FieldType type, typename Argument>
Param makeParam(const char *key, const Argument &argument)
{
    if constexpr (type == FieldType::Bool) {
        static_assert(std::is_same_v<Argument, bool>);
        return {key, argument};
    } else if constexpr (type == FieldType::Text) {
        return {key, std::string_view(argument)};
    } else if constexpr (type == FieldType::Blob) {
        return {key, std::span<const uint8_t>(argument)};
    } else {
        static_assert(std::is_unsigned_v<Argument>);
        static_assert(sizeof(Argument) == (type == FieldType::U8    ? 1
                                           : type == FieldType::U16 ? 2
                                           : type == FieldType::U32 ? 4
                                                                    : 8));
        return {key, uint64_t(argument)};
    }
}

template <Command command, typename... Arguments>
auto Connection::ask(const Arguments &...arguments)
{
    static constexpr const CommandInfo &info = commandInfo(command);
    static_assert(sizeof...(Arguments) == info.params.size());
    const Reply reply = [&]<size_t... at>(std::index_sequence<at...>)
    {
        return execute(command,
                       {makeParam<info.params[at].type>(info.params[at].key, arguments)...});
    }
    (std::index_sequence_for<Arguments...>());
    return [&]<size_t... at>(std::index_sequence<at...>)
    {
        constexpr const FieldList &results = info.results;
        if constexpr (sizeof...(at) == 1)
            return readResult<results[0].type, results[0].optional>(reply, results[0].key);
        else if constexpr (sizeof...(at) > 1)
            return std::tuple{
                readResult<results[at].type, results[at].optional>(reply, results[at].key)...};
    }
    (std::make_index_sequence<info.results.size()>());
}

/// Makes the results of ask() a struct whose members are in the order of the table.
template <typename Struct, typename... Members>
Struct gather(std::tuple<Members...> members)
{
    return std::apply([](Members &...member) { return Struct{std::move(member)...}; }, members);
}

} // namespace tavu::client
