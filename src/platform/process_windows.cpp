#include "platform/process.h"

#include <windows.h>

#include <cstdio>

namespace tavu {

void prepareProcess()
{
    // A missing library is an error to handle, not a box on a screen that nobody looks at.
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
    constexpr int mostStreams = 2048; // the runtime's own limit
    _setmaxstdio(mostStreams);
}

} // namespace tavu
