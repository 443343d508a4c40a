#pragma once

#include <exception>
#include <string>

namespace tavu::test {

/// The text of the exception that \a operation raises; empty when it raises none.
template <typename Operation>
std::string errorOf(Operation operation)
{
    try {
        operation();
    } catch (const std::exception &error) {
        return error.what();
    }
    return std::string();
}

} // namespace tavu::test
