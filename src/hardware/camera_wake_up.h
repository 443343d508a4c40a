#pragma once

#include "hardware/library/port.h"

namespace tavu {

/// Tells a CoaXPress camera that sends nothing to send, unless its port is in use. Failures of that
/// are swallowed.
void wakeIfSilent(Quillon::Port &port);

} // namespace tavu
