#pragma once

#include "client/connection.h"
#include "client/region.h"

#include <cstdint>
#include <optional>

namespace tavu::client {

/// A recording that is open for playback; closed at the end of the object. The connection must
/// outlive it.
class Playback
{
public:
    /// Raises what Connection and Region raise.
    Playback(Connection &connection, uint32_t device, uint32_t fileId, uint32_t streamId = 0);
    Playback(const Playback &) = delete;
    Playback &operator=(const Playback &) = delete;
    ~Playback();

    const OpenFileInfo &info() const { return info_; }

    /// Fetches a frame, counted from 0. The view is valid until the next one.
    FrameView frame(uint64_t index);

private:
    Connection &connection_;
    uint32_t device_;
    uint32_t openFileId_;
    OpenFileInfo info_;
    std::optional<Region> region_;
};

/// Live view of a port; ends with the object. The connection must outlive it.
class LiveView
{
public:
    /// Raises what Connection and Region raise.
    LiveView(Connection &connection, uint32_t device, uint8_t port);
    LiveView(const LiveView &) = delete;
    LiveView &operator=(const LiveView &) = delete;
    ~LiveView();

    /// Waits for a frame. The view is valid until the next one.
    FrameView frame();

private:
    Connection &connection_;
    uint32_t device_;
    uint8_t port_;
    std::optional<Region> region_;
};

} // namespace tavu::client
