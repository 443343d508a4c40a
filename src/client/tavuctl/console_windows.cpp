#include "client/tavuctl/console.h"

#include "platform/environment.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <vector>

namespace tavu::ctl {

namespace {

std::atomic<bool> interruptSeen{false};

/// A standard stream that is a console.
struct Console
{
    HANDLE handle;
    DWORD formerMode;
};

// Restored at the end, since the console also belongs to whoever started us.
std::vector<Console> consoles;
UINT formerCodePage = 0;

HANDLE streamHandle(std::FILE *stream)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
}

BOOL WINAPI rememberInterrupt(DWORD event)
{
    interruptSeen.store(true);
    // After the other events the system ends the process once this returns, or after some seconds.
    // Waiting here leaves the main thread those seconds to finish.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

void restoreConsole()
{
    SetConsoleOutputCP(formerCodePage);
    // Two streams may be one console: what the first found comes last.
    std::for_each(consoles.rbegin(), consoles.rend(), [](const Console &console) {
        SetConsoleMode(console.handle, console.formerMode);
    });
}

} // namespace

bool isConsole(std::FILE *stream)
{
    DWORD mode = 0;
    return GetConsoleMode(streamHandle(stream), &mode);
}

ConsoleSize consoleSize(std::FILE *stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(streamHandle(stream), &info))
        return {};
    return {static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1),
            static_cast<unsigned>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}

bool obeysEscapes(std::FILE *stream)
{
    DWORD mode = 0;
    return GetConsoleMode(streamHandle(stream), &mode) &&
           (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0 &&
           environmentVariable("TERM") != "dumb";
}

bool consolesShowUtf8()
{
    return GetConsoleOutputCP() == CP_UTF8;
}

void prepareStandardStreams()
{
    _setmode(_fileno(stdout), _O_BINARY);
    for (std::FILE *stream : {stdout, stderr}) {
        Console console = {streamHandle(stream), 0};
        if (!GetConsoleMode(console.handle, &console.formerMode))
            continue;
        consoles.push_back(console);
        SetConsoleMode(console.handle, console.formerMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    if (consoles.empty())
        return;
    formerCodePage = GetConsoleOutputCP();
    std::atexit(restoreConsole);
    SetConsoleOutputCP(CP_UTF8);
}

void catchInterrupts()
{
    SetConsoleCtrlHandler(rememberInterrupt, TRUE);
}

bool interrupted()
{
    return interruptSeen.load();
}

} // namespace tavu::ctl
