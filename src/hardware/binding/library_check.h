#pragma once

#include <functional>

namespace tavu {

/// Reports on standard error what a recorder library called \a name lacks of the functions that the
/// service calls. \a find looks a function up by its name, and is null for one that is absent.
/// False when one is absent whose call can't raise: such a library must not be used at all.
bool isUsableLibrary(const char *name, const std::function<const void *(const char *)> &find);

} // namespace tavu
