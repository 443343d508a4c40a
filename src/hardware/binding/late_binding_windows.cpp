#include "hardware/binding/late_binding.h"

#include "platform/diagnostics.h"

#include <atomic>
#include <stdexcept>

#include <windows.h>

#include <delayimp.h>

namespace {

/// Called by the late loader when it finds no library or no function, instead of raising its own
/// structured fault. A function that the library lacks is reported, once, as the late loader looks
/// for it again at each call.
FARPROC WINAPI failToLoad(unsigned notification, PDelayLoadInfo info)
{
    static std::atomic_flag isReported;
    if (notification == dliFailGetProc && !isReported.test_and_set())
        tavu::printLine(stderr, "%s lacks %s\n", info->szDll, info->dlp.szProcName);
    if (notification == dliFailLoadLib || notification == dliFailGetProc)
        throw std::runtime_error(tavu::kLateBindingFailure);
    return nullptr;
}

} // namespace

// The late loader's hook, by the name and of the type that its header declares.
extern "C" {
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = failToLoad;
}
