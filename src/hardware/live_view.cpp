#include "hardware/live_view.h"

#include "encoding/bytes.h"
#include "wire/names.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr Quillon::GrabOptions kGrabOptions = {true, 4};

/// Frames must come with 16 bits a pixel, each pixel on its own.
void selectPixelFormat(Quillon::Port &port)
{
    if (port.hasBitDepthSetting())
        port.setBitDepth(16);
    else if (port.hasPackingSetting())
        port.setPacking(0);
}

} // namespace

std::string LiveView::start(Quillon::Port &port, uint16_t width, uint16_t height)
{
    selectPixelFormat(port);
    const uint32_t size = uint32_t(width) * height * 2;
    SharedRegion region;
    if (!region.createUnique(kRegionBaseName, size, false))
        throw std::runtime_error("Failed to create shared memory mapping.");
    port.startGrab(kGrabOptions, 0);
    replaceRegion(std::move(region));
    live_ = true;
    return liveRegion_.mappingName();
}

// The region of a running view is kept for clients that have its name and will still open it, but
// only so many: a client that starts its view over and over must not use up the system's memory.
void LiveView::replaceRegion(SharedRegion &&region)
{
    constexpr size_t kMostFormerRegions = 64;
    if (live_) {
        if (formerRegions_.size() >= kMostFormerRegions)
            formerRegions_.erase(formerRegions_.begin());
        formerRegions_.push_back(std::move(liveRegion_));
    }
    liveRegion_ = std::move(region);
}

void LiveView::stop(Quillon::Port &port)
{
    port.stopGrab();
    live_ = false;
    formerRegions_.clear();
}

void LiveView::restartIfNeeded(Quillon::Port &port)
{
    if (!restartLive_)
        return;
    restartLive_ = false;
    port.stopGrab();
    selectPixelFormat(port);
    port.startGrab(kGrabOptions, 0);
}

void LiveView::show(Common::Buffer &pixels, uint64_t size)
{
    if (!liveRegion_.view())
        throw std::runtime_error("Invalid shared memory mapping.");
    copyBytes(liveRegion_.view(), pixels.data(), std::min(liveRegion_.viewSize(), size));
}

} // namespace tavu
