#include "platform/clock.h"

#include <windows.h>

namespace tavu {

uint64_t utcTimestamp()
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    FILETIME time = {};
    SystemTimeToFileTime(&now, &time);
    return uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

} // namespace tavu
