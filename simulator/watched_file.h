#pragma once

#include "host.h"

#include <chrono>
#include <filesystem>

namespace simulator {

/// A small file that is looked at again and again.
class WatchedFile
{
public:
    explicit WatchedFile(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path &path() const { return path_; }
    /// Of the content that the last look settled on.
    bool exists() const { return settled_.state == FileText::State::Read; }

    /// The first look. True when the file is there.
    bool lookFirst();
    /// True when the file has another content, or has come or gone. Not before two looks in a row
    /// have found the same, as the file may be half-written.
    bool hasChanged();

private:
    /// Whether the file may differ from what the last reading found.
    bool looksTouched();

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
    bool isYoung_ = true; ///< too young for its stamp to tell whether it has changed
};

} // namespace simulator
