#include "storage/whole_file.h"

#include "errors.h"
#include "settings_file.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace simulator {

std::filesystem::path unfinishedName(const std::filesystem::path &path)
{
    std::filesystem::path name = path;
    name += ".new";
    return name;
}

void replaceFile(const std::filesystem::path &path, const std::string &text)
{
    const std::filesystem::path unfinished = unfinishedName(path);
    std::ofstream file(unfinished, std::ios::binary);
    file << text;
    file.close();
    std::error_code error;
    if (file)
        std::filesystem::rename(unfinished, path, error);
    if (!file || error)
        raiseError(nameOf(path) + " can't be written.");
}

std::string readWholeFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad())
        raiseError(nameOf(path) + " can't be read.");
    return text;
}

uint64_t readWholeFile(const std::filesystem::path &path, void *target, uint64_t size)
{
    std::ifstream file(path, std::ios::binary);
    file.read(static_cast<char *>(target), static_cast<std::streamsize>(size));
    if (!file.is_open() || file.bad())
        raiseError(nameOf(path) + " can't be read.");
    return static_cast<uint64_t>(file.gcount());
}

void removeWhole(const std::filesystem::path &path)
{
    std::error_code error;
    std::filesystem::remove_all(path, error);
    if (error)
        raiseError(nameOf(path) + " can't be removed: " + error.message());
}

} // namespace simulator
