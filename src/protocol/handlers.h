#pragma once

#include "protocol/call.h"
#include "protocol/commands.h"

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace tavu {

// What the tables of handlers are made of.

/// Whether an operation hands something back by this argument.
template <typename Argument>
inline constexpr bool kHandsBack =
    std::is_lvalue_reference_v<Argument> && !std::is_const_v<std::remove_reference_t<Argument>>;

/// Whether a parameter is, without conversion, what an operation takes.
template <typename Parameter, typename Argument>
inline constexpr bool kIsTaken = std::is_same_v<Parameter, std::remove_cvref_t<Argument>> ||
                                 (std::is_same_v<Parameter, const char *> &&
                                  std::is_same_v<std::remove_cvref_t<Argument>, std::string>);

template <Command command, typename Result, typename... Arguments, size_t... in, size_t... out>
Reply passOn(const Call<command> &call, Result (ITavuDevice::*operation)(Arguments...),
             std::index_sequence<in...>, std::index_sequence<out...>)
{
    using List = std::tuple<Arguments...>;
    static_assert(parameterIndex<command>("deviceId") == 0);
    static_assert((kIsTaken<std::tuple_element_t<1 + in, Parameters<command>>,
                            std::tuple_element_t<in, List>> &&
                   ...));
    const auto &params = call.params();
    if constexpr (std::is_void_v<Result>) {
        std::tuple<std::remove_cvref_t<std::tuple_element_t<sizeof...(in) + out, List>>...>
            result{};
        call.onDevice(operation, std::get<1 + in>(params)..., std::get<out>(result)...);
        return call.reply(std::move(std::get<out>(result))...);
    } else {
        return call.reply(call.onDevice(operation, std::get<1 + in>(params)...));
    }
}

/// Passes a request on to one operation of the device: the parameters behind "deviceId" are the
/// operation's arguments, and what it returns, or hands back by its last arguments, is the answer.
/// A parameter behind those only decides about the event.
template <Command command, typename Result, typename... Arguments>
Reply passOn(const Call<command> &call, Result (ITavuDevice::*operation)(Arguments...))
{
    constexpr size_t handedBack = (size_t(kHandsBack<Arguments>) + ... + 0);
    return passOn(call, operation, std::make_index_sequence<sizeof...(Arguments) - handedBack>(),
                  std::make_index_sequence<handedBack>());
}

/// The row of a command that is passed on.
template <Command command, auto operation>
constexpr Handler pass()
{
    return {command, [](Session &session, const ObjectValue &request) {
                return passOn(Call<command>(session, request), operation);
            }};
}

template <Command command>
constexpr Command commandOf(Reply (*)(const Call<command> &))
{
    return command;
}

/// The row of a command with a function of its own. Its argument tells which command.
template <auto function>
constexpr Handler handle()
{
    constexpr Command command = commandOf(function);
    return {command, [](Session &session, const ObjectValue &request) {
                return function(Call<command>(session, request));
            }};
}

} // namespace tavu
