#pragma once

#include "hardware/library/port.h"
#include "service/transport/shared_region.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu {

/// The live view of one port. All but show() talk to the port, which the caller passes in.
class LiveView
{
public:
    /// Begins acquisition into a new region for frames of this geometry, and returns the region's
    /// name. A view that runs already is started again; when that fails it stays as it is. Raises
    /// "Failed to create shared memory mapping.".
    std::string start(Quillon::Port &port, uint16_t width, uint16_t height);
    /// The present region stays, so that a client can still read the last frame.
    void stop(Quillon::Port &port);

    /// The acquisition has been taken away; the next restartIfNeeded() begins it again.
    void needRestart() { restartLive_ = true; }
    void restartIfNeeded(Quillon::Port &port);

    /// Copies the first \a size bytes of a frame, or as much as the region has room for. Raises
    /// "Invalid shared memory mapping.".
    void show(Common::Buffer &pixels, uint64_t size);

private:
    void replaceRegion(SharedRegion &&region);

    bool restartLive_ = false;
    bool live_ = false; ///< started and not stopped since
    SharedRegion liveRegion_;
    /// Regions of a view that was started again without a stop: clients may still open them. They
    /// go when the view is stopped.
    std::vector<SharedRegion> formerRegions_;
};

} // namespace tavu
