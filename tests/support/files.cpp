#include "support/files.h"

#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace tavu::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do
        path = fs::temp_directory_path() / ("tavu-" + std::to_string(random()));
    while (!fs::create_directory(path));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::string readFile(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string readLines(const fs::path &path)
{
    std::string text = readFile(path);
    std::erase(text, '\r');
    return text;
}

void writeFile(const fs::path &path, const std::string &content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

} // namespace tavu::test
