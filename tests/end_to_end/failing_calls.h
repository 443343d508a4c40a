#pragma once

#include <atomic>
#include <cstdint>

namespace tavu::test {

enum class Failure
{
    None,
    Once,
    Onwards,
    Kill, ///< the process is killed in the midst of the call
};

/// A file that the test and the library in the service have both mapped: the library counts calls,
/// and the test says which of them fail. The variable FAILING_CALLS holds its path.
struct FailingCalls
{
    std::atomic<uint64_t> calls; ///< so far
    std::atomic<uint64_t> at;    ///< counted from 1
    std::atomic<Failure> failure;
    std::atomic<bool> acceptFailed; ///< a failed accept ends the service
    char name[32];                  ///< of the first call that failed
    std::atomic<uint64_t> receives; ///< from clients that brought something
    std::atomic<uint64_t> sends;    ///< to clients
};

} // namespace tavu::test
