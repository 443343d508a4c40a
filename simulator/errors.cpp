#include "errors.h"

#include <cstdio>

namespace simulator {

void report(std::string_view subject, std::string_view text)
{
    std::fputs((std::string(subject) + ": " + std::string(text) + '\n').c_str(), stderr);
    std::fflush(stderr);
}

} // namespace simulator
