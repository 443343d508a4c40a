#pragma once

#include <filesystem>
#include <string>

namespace tavu::test {

/// A fresh folder under a short name, removed with all that is in it.
class TemporaryFolder
{
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder();

    std::filesystem::path path;
};

/// The whole of a file; empty when there is none.
std::string readFile(const std::filesystem::path &path);
/// The same with plain line ends.
std::string readLines(const std::filesystem::path &path);
/// Makes the folders on the way.
void writeFile(const std::filesystem::path &path, const std::string &content);

} // namespace tavu::test
