#pragma once

#include "service_process.h"

#include <cstdint>
#include <string>

namespace tavu::bench {

// Each prints its rows of the table, and raises when the service doesn't do what is measured.

void benchRoundTrip();
/// Serves as a peer of benchRoundTrip() that other programs' libraries make, until it is killed.
void serveTrips(const std::string &peer);
void benchClients();
void benchFrames();
void benchLists();
void benchClientList();
void benchStartUp();
void benchQueues();
void benchMemory();
void benchRecording();
void benchRecorders();

/// A place whose emulated device has so many recordings, made at the first use and kept; it is the
/// one in use then.
const Workplace &workplaceWith(uint32_t recordings);

} // namespace tavu::bench
