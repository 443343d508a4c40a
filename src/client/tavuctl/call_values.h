#pragma once

#include "client/tools/json_values.h"
#include "wire/commands.h"

#include <string>
#include <vector>

namespace tavu::ctl {

using tools::Json;

/// "u32", "string", ...: the names that docs/protocol.md uses.
const char *fieldTypeName(FieldType type);

/// "deviceId u32, port u8", or "nothing".
std::string fieldListText(const FieldList &fields);

/// The table of what crosses the pipe.
Json protocolJson();

/// The parameters of a command from what a person typed: one JSON object, or KEY=VALUE arguments,
/// in which text is taken as it is and bytes are hexadecimal. No arguments are an empty object.
Json parseCallParams(const CommandInfo &info, const std::vector<std::string> &arguments);

/// Raises UsageError, with what the command takes, for parameters that it doesn't: one that is
/// missing, unknown, of another type or too large.
void checkCallParams(const CommandInfo &info, const Json &params);

} // namespace tavu::ctl
