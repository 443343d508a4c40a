#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tavu::bench {

/// Writes the description of \a count recordings from \a firstId on, each under the name that
/// \a prefix and its id make.
void writeRecords(const std::filesystem::path &path, const std::string &prefix, uint32_t firstId,
                  uint32_t count);

} // namespace tavu::bench
