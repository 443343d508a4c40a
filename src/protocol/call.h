#pragma once

#include "protocol/client_state.h"
#include "protocol/parameters.h"
#include "protocol/reply.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace tavu {

/// One request for a command: its parameters, what it works on, and its answer. Keys, types and the
/// event that follows come from the table in wire/commands.h.
template <Command command>
class Call
{
public:
    static constexpr const CommandInfo &kInfo = commandInfo(command);

    /// Reads the parameters, and raises what is wrong with them.
    Call(Session &session, const ObjectValue &request)
        : session_(session), params_(readParameters<command>(request))
    {
    }

    ClientState &client() const { return session_.client; }
    DeviceManager &devices() const { return session_.devices; }
    const Session &session() const { return session_; }
    const Parameters<command> &params() const { return params_; }

    /// Calls an operation of the device that the request names, and then announces the command.
    template <typename Operation, typename... Arguments>
    auto onDevice(Operation operation, Arguments &&...arguments) const
    {
        return devices().call(std::get<parameterIndex<command>("deviceId")>(params_),
                              announcement(), operation, std::forward<Arguments>(arguments)...);
    }

    /// The event that is to follow this request.
    std::optional<DeviceEvent> announcement() const
    {
        constexpr Announcement rule = kInfo.announcement;
        if constexpr (rule.type == EventType::NoEvent) {
            return std::nullopt;
        } else {
            if constexpr (rule.onlyIf != nullptr) {
                if (!std::get<parameterIndex<command>(rule.onlyIf)>(params_))
                    return std::nullopt;
            }
            DeviceEvent event{rule.type, std::get<parameterIndex<command>("deviceId")>(params_), 0};
            if constexpr (rule.port != nullptr)
                event.port = std::get<parameterIndex<command>(rule.port)>(params_);
            return event;
        }
    }

    /// The answer, with values in the order of the table. Optional ones at its end may be left out.
    template <typename... Values>
    static Reply reply(Values &&...values)
    {
        constexpr size_t count = sizeof...(Values);
        static_assert(count <= kInfo.results.size());
        static_assert(count == kInfo.results.size() || kInfo.results[count].optional);
        Reply reply;
        [&]<size_t... index>(std::index_sequence<index...>)
        {
            (addValue<index>(reply, std::forward<Values>(values)), ...);
        }
        (std::make_index_sequence<count>());
        return reply;
    }

private:
    template <size_t index, typename Value>
    static void addValue(Reply &reply, Value &&value)
    {
        static_assert(Reply::fits<kInfo.results[index].type, std::remove_cvref_t<Value>>());
        if constexpr (std::integral<std::remove_cvref_t<Value>> &&
                      !std::same_as<std::remove_cvref_t<Value>, bool>)
            reply.add(kInfo.results[index].key, static_cast<uint64_t>(value));
        else
            reply.add(kInfo.results[index].key, std::forward<Value>(value));
    }

    Session &session_;
    const Parameters<command> params_;
};

} // namespace tavu
