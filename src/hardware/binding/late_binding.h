#pragma once

namespace tavu {

// The functions of the recorder library are bound late: each one is looked up by its name when it
// is called for the first time, and the service runs without the library. There is nothing to call
// here: a call of a function of hardware/library is enough.

/// Text of the std::runtime_error that a call raises when the library or the function is absent.
/// What a library that was found lacks is also reported, once, on standard error.
inline constexpr const char *kLateBindingFailure = "delayload failure";

} // namespace tavu
