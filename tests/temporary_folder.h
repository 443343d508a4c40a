#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace tavu {

/// A folder of a test's own, removed with all it holds.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::random_device random;
        do
            path = std::filesystem::temp_directory_path() / ("tavu-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path));
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }

    std::filesystem::path path;
};

inline std::string readFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void writeFile(const std::filesystem::path &path, const std::string &content)
{
    std::ofstream(path, std::ios::binary) << content;
}

} // namespace tavu
