#pragma once

namespace tavu {

/// To be called while an exception is being handled: its text, or null when it is of a kind that
/// carries none. The text lives as long as the caller's handler runs. The recorder library's
/// exceptions are of a kind of their own, and this is the one place that knows both kinds.
const char *currentFailureText() noexcept;

} // namespace tavu
