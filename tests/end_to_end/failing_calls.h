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

/// A file that a process under the failing-calls library and its test have both mapped: the library
/// counts the calls, the test says which of them fail. FAILING_CALLS names it in the environment.
struct FailingCalls
{
    std::atomic<uint64_t> calls; ///< so far
    std::atomic<uint64_t> at;    ///< counted from 1
    std::atomic<Failure> failure;
    std::atomic<bool> acceptFailed; ///< one of them was for a client: the service ends
    char name[32];                  ///< of the first call that failed
};

} // namespace tavu::test
