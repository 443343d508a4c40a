#pragma once

#include "protocol/client_state.h"

namespace tavu {

/// Serves the requests of one client, on the thread that calls. Leaves only by an exception: when
/// the client goes, or sends what isn't a request. The client gets no message then.
[[noreturn]] void runRequestLoop(Session &session);

} // namespace tavu
