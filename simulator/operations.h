#pragma once

#include <string>

namespace simulator {

/// Whether the library has an operation of this name for which faults can be planned.
bool isOperation(const std::string &name);

} // namespace simulator
