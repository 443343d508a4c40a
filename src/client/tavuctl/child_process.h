#pragma once

#include <string>
#include <vector>

namespace tavu::ctl {

/// Runs a program, found as a shell would find it, with our standard streams, and waits for its
/// end. Ctrl-C then goes to the program, not to us. Returns its exit status, 128 and the signal's
/// number when a signal ended it. Raises Failure when it can't be started.
int runProgram(const std::vector<std::string> &words);

} // namespace tavu::ctl
