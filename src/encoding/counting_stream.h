#pragma once

#include "encoding/stream.h"

#include <cstdint>

namespace tavu {

/// Counts what is written to it, so that the room a record takes is known before it is written.
class CountingStream final : public Stream
{
public:
    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *, uint64_t byteCount) override
    {
        count_ += byteCount;
        return byteCount;
    }

    uint64_t count() const { return count_; }

private:
    uint64_t count_ = 0;
};

} // namespace tavu
