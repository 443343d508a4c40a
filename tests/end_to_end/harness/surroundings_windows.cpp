#include "surroundings.h"

#include "platform/files.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace tavu::test {

namespace fs = std::filesystem;

namespace {

/// Where there is a Wine prefix of our own, we may tell the system another folder.
void setDataFolder(const fs::path &folder)
{
    const std::wstring text = folder.native();
    RegSetKeyValueW(HKEY_CURRENT_USER,
                    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                    L"Local AppData", REG_EXPAND_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

/// The folder that the user really has, emptied at our end. Somebody's recordings are not for us.
fs::path borrowDataFolder()
{
    static const struct Loan
    {
        Loan()
        {
            if (fs::exists(place))
                throw std::runtime_error(
                    "run this as a user without recordings: there are some in " +
                    narrowText(place.native()));
        }
        ~Loan()
        {
            std::error_code ignored;
            fs::remove_all(place, ignored);
        }
        const fs::path place = fs::path(wideText(userDataFolder())) / "OREK Systems" / "TAVU";
    } loan;
    fs::remove_all(loan.place);
    return wideText(userDataFolder());
}

} // namespace

fs::path separate(const fs::path &folder)
{
    if (!onWine())
        return borrowDataFolder();
    // A name that no single code page holds.
    const fs::path data = folder / u8"d\u00e4ta \u6d4b\u8bd5 \U0001f3a5";
    setDataFolder(fs::path(data).make_preferred());
    return data;
}

} // namespace tavu::test
