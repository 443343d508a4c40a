#include "platform/files.h"

#include <filesystem>
#include <system_error>

namespace tavu {

namespace fs = std::filesystem;

namespace {

fs::path nativePath(const std::string &path)
{
    return fs::path(reinterpret_cast<const char8_t *>(path.c_str()));
}

} // namespace

bool createFolders(const std::string &path)
{
    std::error_code ignored;
    fs::create_directories(nativePath(path), ignored);
    return fs::is_directory(nativePath(path), ignored);
}

bool isRegularFile(const std::string &path)
{
    std::error_code ignored;
    return fs::is_regular_file(nativePath(path), ignored);
}

bool isMissing(const std::string &path)
{
    std::error_code ignored;
    return fs::symlink_status(nativePath(path), ignored).type() == fs::file_type::not_found;
}

std::optional<uint64_t> fileSize(const std::string &path)
{
    std::error_code error;
    const auto size = fs::file_size(nativePath(path), error);
    return error ? std::nullopt : std::optional<uint64_t>(size);
}

std::string joinPath(const std::string &left, const std::string &right)
{
    if (left.empty() || right.empty())
        return left + right;
    std::string path;
    path.reserve(left.size() + 1 + right.size());
    path += left;
    path += static_cast<char>(fs::path::preferred_separator);
    return path += right;
}

} // namespace tavu
