#include "watched_file.h"

#include <system_error>
#include <utility>

namespace simulator {

namespace {

/// File systems can give two changes within this time the same stamp.
constexpr std::chrono::seconds kStampPrecision(3);

} // namespace

bool WatchedFile::readFirst()
{
    mayHaveChanged();
    latest_ = settled_ = readSmallFile(path_);
    return exists();
}

bool WatchedFile::hasChanged()
{
    if (!mayHaveChanged() && latest_ == settled_)
        return false;
    FileText found = readSmallFile(path_);
    if (found.state == FileText::State::Unreadable)
        return false;
    const bool isSteady = found == latest_;
    latest_ = std::move(found);
    if (!isSteady || latest_ == settled_)
        return false;
    settled_ = latest_;
    return true;
}

bool WatchedFile::mayHaveChanged()
{
    std::error_code error;
    Stamp stamp{std::filesystem::last_write_time(path_, error), 0};
    if (!error)
        stamp.size = std::filesystem::file_size(path_, error);
    if (error)
        stamp = Stamp();
    const bool wasYoung = isYoung_;
    isYoung_ =
        !error && std::filesystem::file_time_type::clock::now() - stamp.time < kStampPrecision;
    return std::exchange(stamp_, stamp) != stamp || wasYoung || isYoung_;
}

} // namespace simulator
