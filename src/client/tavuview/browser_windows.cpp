#include "client/tavuview/browser.h"

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/wide_text_windows.h"

#include <cstdio>
#include <windows.h>

#include <shellapi.h>

namespace tavu::view {

bool hasDesktop()
{
    return true;
}

bool BrowserFile::open(const std::string &address)
{
    // The user's own temporary folder is closed to other users.
    wchar_t folder[MAX_PATH + 1] = {};
    if (GetTempPathW(MAX_PATH, folder) == 0)
        return false;
    const std::string path = narrowText(folder) + "tavuview-" +
                             std::to_string(GetCurrentProcessId()) + "-" +
                             std::to_string(utcTimestamp()) + ".html";
    std::FILE *const file = openStdFile(path, "wb");
    if (!file)
        return false;
    path_ = path;
    const std::string page = pageLeadingTo(address);
    const bool written = std::fwrite(page.data(), 1, page.size(), file) == page.size();
    if (std::fclose(file) != 0 || !written)
        return false;
    // Values up to 32 are errors, by its documentation.
    return reinterpret_cast<INT_PTR>(ShellExecuteW(nullptr, L"open", wideText(path).c_str(),
                                                   nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

} // namespace tavu::view
