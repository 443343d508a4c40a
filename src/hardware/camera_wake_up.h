#pragma once

#include "hardware/library/port.h"

namespace tavu {

/// Wakes a CoaXPress camera that sends nothing. A wake-up that fails is ignored.
void wakeIfSilent(Quillon::Port &port);

} // namespace tavu
