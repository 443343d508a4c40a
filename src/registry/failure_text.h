#pragma once

namespace tavu {

/// To be called while an exception is being handled: its text, or null when it is of a kind that
/// carries none. The text lives as long as the caller's handler runs.
///
/// Every place that tells of a failure gets its words here, so that a further kind of exception
/// is made known in one place.
const char *currentFailureText() noexcept;

} // namespace tavu
