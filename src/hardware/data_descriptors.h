#pragma once

#include "hardware/device_types.h"
#include "hardware/library/port.h"

namespace tavu {

/// The geometry and the camera format that a port is configured for.
struct PortGeometry
{
    uint16_t width;  ///< pixels
    uint16_t height; ///< pixels
    uint32_t tapGeometry;
};

/// Makes the descriptor that tells a recorder of this type what port \a index delivers. Asks
/// \a port for its link mode on a CoaXPress recorder.
boost::shared_ptr<Quillon::DataDescriptor> describePort(Quillon::Port &port, uint32_t index,
                                                        const DeviceType &type,
                                                        const PortGeometry &geometry);

} // namespace tavu
