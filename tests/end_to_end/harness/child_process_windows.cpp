#include "child_process.h"
#include "platform/command_line_windows.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <memory>
#include <psapi.h>
#include <stdexcept>
#include <string>

namespace tavu::test {

namespace {

struct CloseIt
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseIt>;

HANDLE native(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

/// The system ends the processes of this group when our process ends, also by a crash.
HANDLE processGroup()
{
    static const Handle group = [] {
        Handle job(CreateJobObjectW(nullptr, nullptr));
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                sizeof limits);
        return job;
    }();
    return group.get();
}

/// Returns no handle for an empty path.
Handle openForAppend(const std::string &path)
{
    if (path.empty())
        return {};
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    const HANDLE file = CreateFileW(wideText(path).c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    &inheritable, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return Handle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

/// Suspended, so that it can be put into the group before it starts anything. A start can fail
/// while the system still holds the file of a process that has just ended, so there are several
/// attempts.
PROCESS_INFORMATION startSuspended(const std::wstring &program, std::wstring &line,
                                   STARTUPINFOW &startup)
{
    constexpr int attempts = 20;
    constexpr DWORD pause = 100; ///< milliseconds
    PROCESS_INFORMATION process = {};
    for (int i = 0; i < attempts; ++i) {
        if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                           nullptr, nullptr, &startup, &process))
            return process;
        Sleep(pause);
    }
    return {};
}

} // namespace

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                           const std::string &outputPath, const std::string &errorPath)
{
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    std::wstring line = commandLine(words);
    const Handle output = openForAppend(outputPath);
    const Handle error = openForAppend(errorPath);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = error.get();
    const PROCESS_INFORMATION process = startSuspended(wideText(program), line, startup);
    if (!process.hProcess)
        throw std::runtime_error("can't start " + program + ": error " +
                                 std::to_string(GetLastError()));
    AssignProcessToJobObject(processGroup(), process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    process_ = reinterpret_cast<intptr_t>(process.hProcess);
}

ChildProcess::~ChildProcess()
{
    kill();
    WaitForSingleObject(native(process_), INFINITE);
    CloseHandle(native(process_));
}

void ChildProcess::kill()
{
    TerminateProcess(native(process_), static_cast<UINT>(-1));
}

std::optional<int> ChildProcess::exitStatus()
{
    DWORD status = 0;
    if (!status_ && WaitForSingleObject(native(process_), 0) == WAIT_OBJECT_0 &&
        GetExitCodeProcess(native(process_), &status))
        status_ = static_cast<int>(status);
    return status_;
}

uint64_t ChildProcess::residentBytes() const
{
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(native(process_), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

} // namespace tavu::test
