#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tavu::test {

/// A command as clients rely on it, whatever the product's own tables say.
struct Command
{
    std::string_view name;
    /// An example of each parameter as parseFields() reads it, in the order in which the service
    /// looks at them. No two numbers of a command are equal.
    std::string_view params;
};

/// By ordinal.
std::span<const Command> commands();

/// The ordinal of a command's name. A number in digits stands for itself, also where there is no
/// such command. Raises std::out_of_range for an unknown name.
uint64_t ordinalOf(std::string_view command);

} // namespace tavu::test
