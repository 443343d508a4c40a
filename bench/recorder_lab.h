#pragma once

#include "service_process.h"

#include <filesystem>
#include <string>

namespace tavu::bench {

/// A folder with simulated recorders in it. While it exists, the services that this process starts
/// have those recorders and no emulated device; they are numbered in the order of their names.
class RecorderLab
{
public:
    RecorderLab();

    /// Describes a recorder by the text of its recorder.conf; returns its folder.
    std::filesystem::path add(const std::string &name, const std::string &description);

private:
    Workplace workplace_;
};

void writeText(const std::filesystem::path &path, const std::string &text);

} // namespace tavu::bench
