#pragma once

#include "hardware/device_types.h"
#include "hardware/library/port.h"
#include "records/config_record.h"

#include <cstdint>

namespace tavu {

/// Makes the descriptor that tells a recorder of this type what port \a index delivers. Asks
/// \a port for its link mode on a CoaXPress recorder.
boost::shared_ptr<Quillon::DataDescriptor>
describePort(Quillon::Port &port, uint32_t index, const DeviceType &type, const PortFormat &format);

} // namespace tavu
