#pragma once

#include <chrono>
#include <functional>

namespace tavu::test {

/// No condition may take longer than this to come true, on a busy machine and under a sanitizer.
constexpr std::chrono::seconds kLimit{60};

/// Asks again and again until it holds; false when that takes too long.
bool waitUntil(const std::function<bool()> &condition);

} // namespace tavu::test
