#pragma once

#include <cstdint>
#include <filesystem>

namespace simulator {

/// An ordinary file that is read and written at given places. Any thread. Operations raise
/// Common::GeneralException.
class PositionedFile
{
public:
    /// Makes the file if it isn't there.
    explicit PositionedFile(const std::filesystem::path &path);
    PositionedFile(PositionedFile &&other) noexcept;
    PositionedFile &operator=(PositionedFile &&) = delete;
    ~PositionedFile();

    /// What lies past the end of the file reads as zeros.
    void read(uint64_t offset, void *target, uint64_t size) const;
    void write(uint64_t offset, const void *source, uint64_t size) const;

private:
    std::filesystem::path path_;
    intptr_t handle_;
};

} // namespace simulator
