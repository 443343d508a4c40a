#pragma once

#include "client/connection.h"

#include <cstdint>

namespace tavu::ctl {

/// What is going on with the incomplete file of a device.
enum class RecordingState
{
    Nothing,       ///< there is none
    UnderWay,      ///< a recording fills it
    Ended,         ///< a recording has come to its end and waits to be stopped
    CutOff,        ///< left behind by a service that died
    EndedOrCutOff, ///< a recorder doesn't tell these two apart
};

/// Asks several commands, since none tells alone.
RecordingState recordingState(client::Connection &service, uint32_t device);

} // namespace tavu::ctl
