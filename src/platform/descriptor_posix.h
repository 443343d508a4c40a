#pragma once

#include <unistd.h>
#include <utility>

namespace tavu {

/// Owns a file descriptor and closes it; -1 is none.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    /// Hands the descriptor to the caller, who closes it.
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1)
    {
        const int former = std::exchange(fd_, fd);
        if (former >= 0)
            ::close(former);
    }

private:
    int fd_ = -1;
};

} // namespace tavu
