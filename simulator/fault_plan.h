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

/// The effects of both; of two texts, the first counts.
FaultPlan::Effect operator+(FaultPlan::Effect left, const FaultPlan::Effect &right);

} // namespace simulator
