#pragma once

#include <cstdint>

namespace tavu {

/// The base name under which the service listens and clients find it.
inline constexpr const char *kPipeName = "tavusrv";

/// What the names of all regions of frames begin with. A starting service removes those that a dead
/// one has left behind.
inline constexpr const char *kRegionBaseName = "orek_tavu";

/// The only version of the protocol.
inline constexpr uint64_t kProtocolVersion = 0;

} // namespace tavu
