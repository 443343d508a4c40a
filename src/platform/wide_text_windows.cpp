#include "platform/wide_text_windows.h"

#include <windows.h>

namespace tavu {

std::wstring wideText(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(
        static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string narrowText(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    std::string narrow(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size,
                                                               nullptr, 0, nullptr, nullptr)),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(),
                        static_cast<int>(narrow.size()), nullptr, nullptr);
    return narrow;
}

} // namespace tavu
