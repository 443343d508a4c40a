#pragma once

#include "hardware/library/common.h"

#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// Raises Common::GeneralException.
[[noreturn]] inline void raiseError(const std::string &text)
{
    throw Common::GeneralException(text.c_str());
}

/// The object of a handle that a program hands over. Raises \a error when the handle is empty.
template <typename T>
T &required(const boost::shared_ptr<T> &handle, const char *error)
{
    if (!handle)
        raiseError(error);
    return *handle;
}

inline Common::Buffer &required(const boost::shared_ptr<Common::Buffer> &buffer)
{
    return required(buffer, "There is no buffer.");
}

/// Does something, and returns the text of what it raises; none when all is well.
template <typename Action>
std::optional<std::string> errorOf(Action action)
{
    try {
        action();
    } catch (const Common::GeneralException &error) {
        return error.what();
    } catch (const std::exception &error) {
        return error.what();
    }
    return std::nullopt;
}

/// Prints "SUBJECT: TEXT" on standard error.
void report(std::string_view subject, std::string_view text);

/// Does something, and reports what it raises.
template <typename Action>
void attempt(std::string_view subject, Action action)
{
    if (const auto error = errorOf(action))
        report(subject, *error);
}

} // namespace simulator
