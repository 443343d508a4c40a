#pragma once

#include <string>
#include <string_view>

namespace tavu {

// Text is UTF-8 throughout; only the system's wide functions see anything else. What isn't valid
// becomes U+FFFD.

std::wstring wideText(std::string_view text);
std::string narrowText(std::wstring_view text);

} // namespace tavu
