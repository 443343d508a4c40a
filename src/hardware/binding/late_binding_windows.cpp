#include "hardware/binding/late_binding.h"

#include <stdexcept>

#include <windows.h>

#include <delayimp.h>

namespace {

/// Called by the late loader when it finds no library or no function, in the place of its own
/// structured fault.
FARPROC WINAPI failToLoad(unsigned notification, PDelayLoadInfo)
{
    if (notification == dliFailLoadLib || notification == dliFailGetProc)
        throw std::runtime_error(tavu::kLateBindingFailure);
    return nullptr;
}

} // namespace

// The late loader's hook, by the name and of the type that its header declares.
extern "C" {
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = failToLoad;
}
