#pragma once

#include "recorder.h"

namespace simulator {

/// Begins an operation on \a recorder with its arguments, the object first where a recorder has
/// several of its kind: true when a fault says that it shall yield nothing. Raises
/// what a fault raises, and Common::GeneralException when the recorder is pulled out.
template <typename... Arguments>
bool isEmptied(const Recorder &recorder, const char *operation, const Arguments &...arguments)
{
    if (recorder.gate().empties(operation, arguments...))
        return true;
    recorder.requireConnected();
    return false;
}

} // namespace simulator
