#pragma once

namespace tavu {

/// What the process needs before its first thread and file: writes to a reader that is gone fail
/// instead of raising a signal, and as many descriptors may be open as the system allows.
void prepareProcess();

} // namespace tavu
