#pragma once

#include "hardware/library/device.h"

#include <cstdint>

namespace tavu {

/// What the service knows of a recorder model.
struct DeviceType
{
    uint32_t first; ///< first and last type number of the model's range
    uint32_t last;
    uint8_t hardwareType; ///< family, 0 for an unknown model
    bool isCxp;           ///< its cameras are linked by CoaXPress
};

const DeviceType &typeOf(Quillon::Device &device);

} // namespace tavu
