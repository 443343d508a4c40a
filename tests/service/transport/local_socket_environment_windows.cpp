#include "service/transport/local_socket_environment.h"

#include <windows.h>

namespace tavu {

namespace {

/// Wine can't list pipes.
bool runsUnderWine()
{
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    return library && GetProcAddress(library, "wine_get_version");
}

} // namespace

SocketEnvironment::SocketEnvironment()
    : folder_("tavutest-" + std::to_string(GetCurrentProcessId()))
{
}

SocketEnvironment::~SocketEnvironment() = default;

std::string SocketEnvironment::uniqueName() const
{
    return folder_;
}
bool SocketEnvironment::listsSockets() const
{
    return !runsUnderWine();
}
bool SocketEnvironment::buffersWrites() const
{
    return false;
}

} // namespace tavu
