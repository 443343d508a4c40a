#include "host.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace simulator {

std::filesystem::path installationFolder()
{
    const char *folder = std::getenv("QUILLON_SIMULATOR_FOLDER");
    return folder && *folder ? std::filesystem::absolute(folder) : std::filesystem::path();
}

FileText readSmallFile(const std::filesystem::path &file)
{
    std::error_code error;
    const auto type = std::filesystem::status(file, error).type();
    if (type == std::filesystem::file_type::not_found)
        return {};
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    // A folder can be opened, but not be read.
    if (type != std::filesystem::file_type::regular || !stream ||
        (stream.peek() != std::ifstream::traits_type::eof() && !(text << stream.rdbuf())))
        return {FileText::State::Unreadable, std::string()};
    return {FileText::State::Read, text.str()};
}

} // namespace simulator
