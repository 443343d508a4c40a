#pragma once

#include <windows.h>

namespace tavu {

/// The security of objects that all users of the machine may use and administrators control. Built
/// at the first call and valid until the process exits; null when it couldn't be built.
SECURITY_ATTRIBUTES *sharedSecurityAttributes();

} // namespace tavu
