#pragma once

#include "hardware/library/common.h"

#include <string>

namespace simulator {

/// Raises Common::GeneralException.
[[noreturn]] inline void raiseError(const std::string &text)
{
    throw Common::GeneralException(text.c_str());
}

} // namespace simulator
