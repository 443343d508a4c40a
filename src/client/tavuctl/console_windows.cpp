#include "client/tavuctl/console.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>

namespace tavu::ctl {

namespace {

std::atomic<bool> interruptSeen{false};

/// Restored at the end, since the console also belongs to whoever started us.
UINT formerCodePage = 0;
DWORD formerMode = 0;

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
    SetConsoleMode(streamHandle(stdout), formerMode);
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

void prepareStandardStreams()
{
    _setmode(_fileno(stdout), _O_BINARY);
    if (!GetConsoleMode(streamHandle(stdout), &formerMode))
        return;
    formerCodePage = GetConsoleOutputCP();
    std::atexit(restoreConsole);
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleMode(streamHandle(stdout), formerMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
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
