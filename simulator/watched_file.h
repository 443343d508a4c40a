#pragma once

#include "host.h"

#include <chrono>
#include <filesystem>
#include <utility>

namespace simulator {

/// A small file that is looked at again and again.
class WatchedFile
{
public:
    explicit WatchedFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path &path() const { return path_; }
    /// By the content that was settled on last.
    bool exists() const { return settled_.state == FileText::State::Read; }

    /// Reads the file for the first time. True when it is there.
    bool readFirst();
    /// True when the file has another content, or has come or gone. Not before two calls in a row
    /// have found the same, as the file may be half-written.
    bool hasChanged();

private:
    /// Whether the file may differ from what the last reading found.
    bool mayHaveChanged();

    struct Stamp
    {
        std::filesystem::file_time_type time;
        uintmax_t size = 0;

        bool operator==(const Stamp &) const = default;
    };

    std::filesystem::path path_;
    FileText settled_;
    FileText latest_;
    Stamp stamp_;
    bool isYoung_ = true; ///< so young that its stamp can hide a change
};

} // namespace simulator
