// A file of its own: programs that want another folder bring their own userDataFolder().

#include "platform/files.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <shlobj.h>

namespace tavu {

std::string userDataFolder()
{
    wchar_t folder[MAX_PATH];
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE,
                                            nullptr, SHGFP_TYPE_CURRENT, folder);
    return result == S_OK ? narrowText(folder) : std::string();
}

} // namespace tavu
