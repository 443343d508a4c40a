#pragma once

namespace tavu {

/// Gives the calling thread a name for debuggers and system tools, of at most 15 characters. Does
/// nothing where the system can't.
void nameThisThread(const char *name);

} // namespace tavu
