#include "protocol/commands.h"

#include <array>

namespace tavu {

namespace {

using HandlerTable = std::array<Handler, kCommandCount>;

HandlerTable collectHandlers()
{
    HandlerTable table{};
    for (const auto group :
         {queueCommands(), deviceCommands(), cameraCommands(), fileCommands(), portCommands(),
          recordingCommands(), recoveryCommands(), liveCommands()}) {
        for (const Handler &handler : group)
            table[static_cast<size_t>(handler.command)] = handler;
    }
    return table;
}

} // namespace

const Handler *findHandler(uint64_t ordinal)
{
    static const HandlerTable table = collectHandlers();
    return ordinal < table.size() && table[ordinal].serve ? &table[ordinal] : nullptr;
}

} // namespace tavu
