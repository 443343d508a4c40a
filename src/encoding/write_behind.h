#pragma once

#include "encoding/windowed_stream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace tavu {

/// Collects what is written, so that a message of many small pieces is one write of another stream.
/// A long message goes on in pieces of kPieceBytes as it comes, and is never held whole.
class WriteBehind final : public WindowedStream
{
public:
    static constexpr size_t kPieceBytes = 64 * 1024;

    /// \a target must outlive the object.
    explicit WriteBehind(Stream &target);
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    /// Delivers nothing.
    uint64_t read(void *, uint64_t) override { return 0; }
    /// Accepts everything. What the target doesn't accept ends what it gets: it never sees a
    /// message with a gap.
    uint64_t write(const void *buffer, uint64_t byteCount) override;

    /// Passes on what is left, at the end of a message. False when the target hasn't accepted
    /// everything since the beginning.
    bool flush();

private:
    static constexpr size_t kSmallBytes = 4096;

    void makeRoom();
    void send(const void *buffer, uint64_t byteCount);
    void sendCollected();

    Stream &target_;
    bool accepted_ = true;
    // Most messages need no more than the small buffer. The large one is there only while a message
    // needs it, for the sake of all the connections that wait.
    std::unique_ptr<unsigned char[]> large_;
    std::array<unsigned char, kSmallBytes> small_;
};

} // namespace tavu
