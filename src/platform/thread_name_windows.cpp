#include "platform/thread_name.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

namespace tavu {

void nameThisThread(const char *name)
{
    // Looked up, since the first releases of Windows 10 don't have it yet.
    using SetDescription = HRESULT(WINAPI *)(HANDLE thread, PCWSTR description);
    static const auto setDescription = reinterpret_cast<SetDescription>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription")));
    if (setDescription)
        setDescription(GetCurrentThread(), wideText(name).c_str());
}

} // namespace tavu
