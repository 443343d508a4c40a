#pragma once

#include "recorder.h"

namespace simulator {

/// Begins an operation on \a recorder: true when a fault says that it shall yield nothing. Raises
/// what a fault raises, and Common::GeneralException when the recorder is pulled out.
inline bool isEmptied(const Recorder &recorder, const char *operation)
{
    if (recorder.faults().empties(operation))
        return true;
    recorder.requireConnected();
    return false;
}

} // namespace simulator
