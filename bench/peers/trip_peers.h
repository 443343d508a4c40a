#pragma once

#include "trips.h"

#include <string>

namespace tavu::bench {

// Other programs' ways to ask a process on the same machine for a number: a server, which serves
// until it is killed under a base name, and a client, which waits for
// it.

#ifdef TAVU_BENCH_ZEROMQ
void serveZeromq(const std::string &name);
Trip connectZeromq(const std::string &name);
#endif

#ifdef TAVU_BENCH_GRPC
void serveGrpc(const std::string &name);
Trip connectGrpc(const std::string &name);
#endif

} // namespace tavu::bench
