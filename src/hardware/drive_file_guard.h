#pragma once

#include "hardware/stavu_device.h"

namespace tavu {

/// Holds one count of a drive file's handle and gives it back at its end. The device's mutex must
/// be held all the while.
class STavuDevice::DriveFileGuard
{
public:
    DriveFileGuard(STavuDevice &device, DriveFileHandle *handle) : device_(device), handle_(handle)
    {
    }
    DriveFileGuard(const DriveFileGuard &) = delete;
    DriveFileGuard &operator=(const DriveFileGuard &) = delete;
    ~DriveFileGuard() { device_.releaseDriveFile(handle_); }

    DriveFileHandle *operator->() const { return handle_; }
    DriveFileHandle *get() const { return handle_; }

private:
    STavuDevice &device_;
    DriveFileHandle *const handle_;
};

} // namespace tavu
