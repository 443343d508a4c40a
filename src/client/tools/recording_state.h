#pragma once

#include "client/connection.h"

#include <cstdint>

namespace tavu::tools {

/// What a device is doing, and what its incomplete file is.
enum class RecordingState
{
    Nothing,       ///< no recording, and no such file
    UnderWay,      ///< a recording
    Ended,         ///< a recording has come to its end and waits to be stopped
    CutOff,        ///< left behind by a service that died
    EndedOrCutOff, ///< a recorder doesn't tell these two apart
};

/// Asks several commands, since none tells alone.
RecordingState recordingState(client::Connection &service, uint32_t device);

} // namespace tavu::tools
