#include "hardware/binding/library_check.h"

#include "platform/diagnostics.h"

#include <string>
#include <string_view>

namespace tavu {

namespace {

#define LATE_FUNCTION(index, name) #name,
constexpr const char *kNames[] = {
#include "quillon_functions.inc"
};
#undef LATE_FUNCTION

/// Destructors and the release of memory can't raise when they are absent.
bool mayNotRaise(std::string_view name)
{
    return name.ends_with("D1Ev") || name.ends_with("D0Ev") || name.ends_with("dlEPv");
}

} // namespace

bool isUsableLibrary(const char *name, const std::function<const void *(const char *)> &find)
{
    std::string absent;
    bool usable = true;
    for (const char *function : kNames) {
        if (find(function))
            continue;
        absent += std::string(" ") + function;
        usable = usable && !mayNotRaise(function);
    }
    if (!absent.empty())
        printLine(stderr, "%s lacks%s\n", name, absent.c_str());
    return usable;
}

} // namespace tavu
