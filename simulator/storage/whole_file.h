#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace simulator {

// Files that are read and replaced as a whole. All raise Common::GeneralException.

/// The new file is written beside the old one and takes its place, so that a process that dies
/// leaves one of the two.
void replaceFile(const std::filesystem::path &path, const std::string &text);

std::string readWholeFile(const std::filesystem::path &path);
/// Reads up to \a size bytes and returns their count.
uint64_t readWholeFile(const std::filesystem::path &path, void *target, uint64_t size);

/// Removes a file or a folder with all it holds, if it is there.
void removeWhole(const std::filesystem::path &path);

/// The name of the new file until it takes the place of the old one.
std::filesystem::path unfinishedName(const std::filesystem::path &path);

} // namespace simulator
