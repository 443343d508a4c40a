#pragma once

#include "operation.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace simulator {

/// The faults of one faults.conf, and how often each operation has been called since it was read.
/// Any thread.
class FaultPlan
{
public:
    struct Effect
    {
        uint32_t milliseconds = 0;
        bool empty = false;
        std::string error; ///< text to raise; empty: none

        /// Adds another effect. Of two errors the first is kept.
        Effect &operator+=(const Effect &other);
    };

    /// Reads the file anew and counts from 0. Raises std::runtime_error that names file and line,
    /// and then keeps what it has. A file that isn't there has no faults.
    void load(const std::filesystem::path &file);

    /// Counts a call of \a operation and tells what shall happen to it.
    Effect count(Operation operation);

private:
    struct Fault
    {
        Operation operation;
        uint64_t firstCall;
        uint64_t lastCall;
        Effect effect;
    };

    static Fault parse(const std::string &line);

    std::atomic<bool> hasFaults_ = false; ///< read without the mutex, as most often there are none
    std::mutex mutex_;
    std::vector<Fault> faults_;
    std::array<uint64_t, std::size(kOperations)> calls_{}; ///< by the operation's index
};

} // namespace simulator
