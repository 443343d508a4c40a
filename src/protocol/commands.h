#pragma once

#include "encoding/object_value.h"
#include "protocol/client_state.h"
#include "protocol/reply.h"
#include "wire/commands.h"

#include <cstdint>
#include <span>

namespace tavu {

/// What answers a command.
struct Handler
{
    Command command;
    /// Does the command's work and returns its answer; raises what the client gets as an error.
    Reply (*serve)(Session &session, const ObjectValue &request);
    bool echoesFailure = false; ///< a failure is also printed on standard error
};

/// Null when there is no such command.
const Handler *findHandler(uint64_t ordinal);

// The handlers, by the file in which they stand.
std::span<const Handler> queueCommands();
std::span<const Handler> deviceCommands();
std::span<const Handler> cameraCommands();
std::span<const Handler> fileCommands();
std::span<const Handler> portCommands();
std::span<const Handler> recordingCommands();
std::span<const Handler> recoveryCommands();
std::span<const Handler> liveCommands();

} // namespace tavu
