#pragma once

#include <cstdint>
#include <filesystem>

namespace tavu::bench {

// Each prints its rows of the table, and raises when the service doesn't do what is measured.

void benchRoundTrip();
void benchFrames();
void benchStartUp();
void benchIdleConnections();
void benchRecording();
void benchRecorders();

/// What benchStartUp() starts as its peer: opens, reads and closes the files below \a folder that
/// the service reads at its start with a catalogue of \a count recordings.
void readRecords(const std::filesystem::path &folder, uint32_t count);
/// What benchRecorders() starts as a peer: reads the metadata of all files of the first recorder
/// that the recorder library sees.
void readMetadata();

} // namespace tavu::bench
