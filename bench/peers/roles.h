#pragma once

#include <string>
#include <vector>

namespace tavu::bench {

using Arguments = std::vector<std::string>;

// The least that a server can do for the work of the service: a thread for each client, one read
// for a request, one write for its reply. Each serves until it is killed, under the base name that
// is its first argument.

/// NAME REPLY_SIZE [FILE FRAME_SIZE]: answers with so many bytes, having read a frame of the file.
void serveEcho(const Arguments &arguments);

/// NAME COUNT: encodes the reply to listFiles in memory, and sends it.
void serveList(const Arguments &arguments);

/// NAME COUNT REPLY_SIZE: each of so many readers has a queue, and its request waits there. The
/// client that came first wakes them all, one after another.
void serveQueues(const Arguments &arguments);

// The least that a start of the service takes. Both end by themselves.

/// FOLDER COUNT: opens, reads and closes the files below the folder that the service reads at its
/// start with a catalogue of so many recordings.
void readRecords(const Arguments &arguments);

/// Reads the metadata of all files of the first recorder that the recorder library sees.
void readMetadata(const Arguments &arguments);

} // namespace tavu::bench
