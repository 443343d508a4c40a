#include "hardware/binding/late_binding.h"

#include "hardware/binding/library_check.h"

#include <stdexcept>

#include <windows.h>

#include <delayimp.h>

namespace {

[[noreturn]] void fail()
{
    throw std::runtime_error(tavu::kLateBindingFailure);
}

/// Called by the late loader before it looks for a function in the library. It does so at every
/// call of one that is absent.
FARPROC WINAPI checkLibrary(unsigned notification, PDelayLoadInfo info)
{
#if defined(__GNUC__)
    if (notification == dliNotePreGetProcAddress) {
        static const bool usable = tavu::isUsableLibrary(info->szDll, [info](const char *function) {
            return reinterpret_cast<const void *>(GetProcAddress(info->hmodCur, function));
        });
        if (!usable)
            fail();
    }
#else
    // Another compiler forms other names; what is absent shows when it is called.
    static_cast<void>(notification);
    static_cast<void>(info);
#endif
    return nullptr;
}

/// Called by the late loader when it finds no library or no function, instead of raising its own
/// structured fault.
FARPROC WINAPI failToLoad(unsigned notification, PDelayLoadInfo /*info*/)
{
    if (notification == dliFailLoadLib || notification == dliFailGetProc)
        fail();
    return nullptr;
}

} // namespace

// The late loader's hooks, by the names and of the type that its header declares.
extern "C" {
decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = checkLibrary;
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = failToLoad;
}
