#pragma once

#include <filesystem>
#include <string>

namespace simulator {

/// The folder that the variable QUILLON_SIMULATOR_FOLDER names, as an absolute path; empty when it
/// names none.
std::filesystem::path installationFolder();

/// The content of a file, or why there is none.
struct FileText
{
    enum class State
    {
        Read,
        Absent,
        Unreadable, ///< possibly only for the moment
    };

    State state = State::Absent;
    std::string text;

    bool operator==(const FileText &) const = default;
};

/// Reads a whole file, in a way that lets others write, rename or remove it meanwhile.
FileText readSmallFile(const std::filesystem::path &file);

} // namespace simulator
