#pragma once

#include <windows.h>

#include <utility>

namespace tavu {

/// Owns a handle of the system's and closes it by CloseHandle(). None is null, and so is what
/// functions that open files return on failure, INVALID_HANDLE_VALUE.
class Handle
{
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(orNull(handle)) {}
    Handle(Handle &&other) noexcept : handle_(other.release()) {}
    Handle &operator=(Handle &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Handle() { reset(); }

    explicit operator bool() const { return handle_ != nullptr; }
    HANDLE get() const { return handle_; }
    /// Hands the handle to the caller, who closes it.
    HANDLE release() { return std::exchange(handle_, nullptr); }
    void reset(HANDLE handle = nullptr)
    {
        const HANDLE former = std::exchange(handle_, orNull(handle));
        if (former)
            CloseHandle(former);
    }

private:
    static HANDLE orNull(HANDLE handle)
    {
        return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
    }

    HANDLE handle_ = nullptr;
};

} // namespace tavu
