#include "client/tavuctl/child_process.h"

#include "client/tavuctl/session.h"
#include "platform/command_line_windows.h"

#include <windows.h>

namespace tavu::ctl {

namespace {

BOOL WINAPI leaveToProgram(DWORD event)
{
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

/// Leaves what the console sends to all of its programs to the one that we run.
class ConsoleEventsIgnored
{
public:
    ConsoleEventsIgnored() { SetConsoleCtrlHandler(leaveToProgram, TRUE); }
    ~ConsoleEventsIgnored() { SetConsoleCtrlHandler(leaveToProgram, FALSE); }
};

} // namespace

int runProgram(const std::vector<std::string> &words)
{
    const ConsoleEventsIgnored ignored;
    std::wstring line = commandLine(words);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        throw Failure("can't run " + words[0] + ": error " + std::to_string(GetLastError()));
    CloseHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hProcess);
    return static_cast<int>(status);
}

} // namespace tavu::ctl
