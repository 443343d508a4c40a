#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace tavu {

/// What a device shares with the worker of its recording; the worker takes no lock.
struct RecordingState
{
    std::atomic<uint8_t> stop{0};
    std::atomic<uint8_t> done{0};
    std::atomic<uint64_t> frames{0}; ///< made so far
    std::atomic<uint16_t> width{0};  ///< the port's present width, which clips the frame header
};

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/// One recording. \a type says what \a count limits: 1 frames, 2 microseconds, others nothing.
struct RecordingJob
{
    std::unique_ptr<std::FILE, FileCloser> file; ///< open for writing
    uint32_t pixelsPerFrame = 0;
    uint8_t type = 0;
    uint64_t count = 0;
};

/// Makes a synthetic frame every 33 ms until the limit or the stop flag, at least one; then closes
/// the file and sets the done flag. The file takes frames up to the first that doesn't fit, and
/// only whole ones. When there is no memory for a frame it ends without one.
void recordFrames(RecordingJob job, RecordingState &state) noexcept;

} // namespace tavu
