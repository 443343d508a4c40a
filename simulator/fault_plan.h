#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
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
        bool raises = false;
        std::string text;
    };

    /// Reads the file anew and counts from 0. Raises std::runtime_error that names file and line,
    /// and then keeps what it has. A file that isn't there has no faults.
    void load(const std::filesystem::path &file);

    /// Counts a call of \a operation and tells what shall happen to it.
    Effect count(const char *operation);

private:
    struct Fault
    {
        std::string operation;
        uint64_t firstCall = 1;
        uint64_t lastCall = 0;
        Effect effect;
    };
    struct Counter
    {
        std::string operation;
        uint64_t calls = 0;
    };

    static Fault parse(const std::string &line);

    std::atomic<bool> hasFaults_ = false; ///< most often not, and then nobody waits for the mutex
    std::mutex mutex_;
    std::vector<Fault> faults_;
    std::vector<Counter> counters_;
};

/// The plans that an operation is subject to: the library's, and its recorder's if it has one.
struct FaultPlans
{
    std::shared_ptr<FaultPlan> common;   ///< of all recorders and of the library itself
    std::shared_ptr<FaultPlan> recorder; ///< null outside of a recorder

    /// To be called first thing in every operation, with no lock held that other operations need:
    /// waits, then raises Common::GeneralException, as the plans say. True when the operation shall
    /// do nothing and yield nothing.
    bool empties(const char *operation) const;
};

} // namespace simulator
