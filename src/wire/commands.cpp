#include "wire/commands.h"

namespace tavu {

namespace {

constexpr bool standsByOrdinal()
{
    for (uint32_t ordinal = 0; ordinal < kCommandCount; ++ordinal) {
        if (static_cast<uint32_t>(allCommands()[ordinal].command) != ordinal)
            return false;
    }
    return true;
}
static_assert(standsByOrdinal());

} // namespace

const CommandInfo *findCommand(uint64_t ordinal)
{
    return ordinal < kCommandCount ? &allCommands()[ordinal] : nullptr;
}

const CommandInfo *findCommand(std::string_view name)
{
    for (const CommandInfo &info : allCommands()) {
        if (name == info.name)
            return &info;
    }
    return nullptr;
}

} // namespace tavu
