#include "host.h"

#include <windows.h>

namespace simulator {

std::filesystem::path installationFolder()
{
    const wchar_t *name = L"QUILLON_SIMULATOR_FOLDER";
    std::wstring folder(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    folder.resize(GetEnvironmentVariableW(name, folder.data(), static_cast<DWORD>(folder.size())));
    return folder.empty() ? std::filesystem::path() : std::filesystem::absolute(folder);
}

FileText readSmallFile(const std::filesystem::path &file)
{
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
            return {};
        return {FileText::State::Unreadable, std::string()};
    }
    FileText content{FileText::State::Read, std::string()};
    char piece[4096];
    for (DWORD count = 0;;) {
        if (!ReadFile(handle, piece, sizeof piece, &count, nullptr)) {
            content = {FileText::State::Unreadable, std::string()};
            break;
        }
        if (count == 0)
            break;
        content.text.append(piece, count);
    }
    CloseHandle(handle);
    return content;
}

} // namespace simulator
