#pragma once

#include <filesystem>
#include <string>

namespace simulator {

/// The folder that the variable QUILLON_SIMULATOR_FOLDER names, as an absolute path; empty when it
/// names none.
std::filesystem::path installationFolder();

/// What became of an attempt to read a file.
struct FileText
{
    enum class State
    {
        Read,
        Absent,
        Unreadable, ///< for now, perhaps
    };

    State state = State::Absent;
    std::string text;

    bool operator==(const FileText &) const = default;
};

/// Reads a whole file, in a way that lets others write, rename or remove it meanwhile.
FileText readSmallFile(const std::filesystem::path &file);

} // namespace simulator
