#include "child_process.h"
#include "platform/command_line_windows.h"
#include "platform/wide_text_windows.h"

#include <windows.h>

#include <psapi.h>
#include <stdexcept>
#include <utility>

namespace tavu::test {

namespace {

/// A handle that closes itself.
class Handle
{
public:
    Handle(HANDLE handle = nullptr) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle()
    {
        if (handle_)
            CloseHandle(handle_);
    }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

HANDLE native(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

/// All that is put in here ends with this process, however that ends.
HANDLE processGroup()
{
    static const Handle group = [] {
        Handle job = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                sizeof limits);
        return job;
    }();
    return group.get();
}

std::wstring variableName(const std::wstring &entry)
{
    // Names of the system's own begin with the sign.
    return entry.substr(0, entry.find(L'=', 1));
}

/// This process's environment with the changes, as the system takes it.
std::wstring childEnvironment(const ProcessOptions &options)
{
    const auto isChanged = [&](const std::wstring &entry) {
        for (const auto &[name, value] : options.environment) {
            if (_wcsicmp(wideText(name).c_str(), variableName(entry).c_str()) == 0)
                return true;
        }
        return false;
    };
    std::wstring result;
    wchar_t *block = GetEnvironmentStringsW();
    for (const wchar_t *place = block; *place != L'\0';) {
        const std::wstring entry = place;
        place += entry.size() + 1;
        if (!isChanged(entry))
            result += entry + L'\0';
    }
    FreeEnvironmentStringsW(block);
    for (const auto &[name, value] : options.environment) {
        if (value)
            result += wideText(name + '=' + *value) + L'\0';
    }
    return result + L'\0';
}

/// No handle for no path.
Handle openForAppend(const std::string &path)
{
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    return CreateFileW(wideText(path).c_str(), FILE_APPEND_DATA,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inheritable,
                       OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

ChildProcess::ChildProcess(const ProcessOptions &options)
{
    std::vector<std::string> words = options.arguments;
    words.insert(words.begin(), options.program);
    std::wstring line = commandLine(words);
    std::wstring environment = childEnvironment(options);
    const Handle output = openForAppend(options.outputPath);
    const Handle error = openForAppend(options.errorPath);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = error.get();
    PROCESS_INFORMATION process = {};
    // Suspended, so that it is in the group before it can start anything.
    if (!CreateProcessW(wideText(options.program).c_str(), line.data(), nullptr, nullptr, TRUE,
                        CREATE_UNICODE_ENVIRONMENT | CREATE_SUSPENDED, environment.data(), nullptr,
                        &startup, &process))
        throw std::runtime_error("can't start " + options.program);
    AssignProcessToJobObject(processGroup(), process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    process_ = reinterpret_cast<intptr_t>(process.hProcess);
}

ChildProcess::~ChildProcess()
{
    TerminateProcess(native(process_), static_cast<UINT>(-1));
    WaitForSingleObject(native(process_), INFINITE);
    CloseHandle(native(process_));
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
