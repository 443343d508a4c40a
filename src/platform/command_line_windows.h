#pragma once

#include <string>
#include <vector>

namespace tavu {

/// The one string that a Windows process gets, from which its runtime makes these very words again.
std::wstring commandLine(const std::vector<std::string> &words);

} // namespace tavu
