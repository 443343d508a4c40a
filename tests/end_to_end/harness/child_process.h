#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavu::test {

/// A process that ends with this object, and with the test program at the latest.
class ChildProcess
{
public:
    /// Standard output and error are appended to files; an empty path means none. Raises
    /// std::runtime_error when the process can't be started.
    ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                 const std::string &outputPath, const std::string &errorPath);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    /// Kills it hard and returns when it is gone.
    ~ChildProcess();

    /// From any thread: ends the process at once.
    void kill();
    /// The exit status, below 0 when the process crashed; empty when it still runs.
    std::optional<int> exitStatus();
    /// Memory that the process occupies, in bytes.
    uint64_t residentBytes() const;
    /// What the system knows the process by: its id, on Windows its handle.
    intptr_t id() const { return process_; }

private:
    intptr_t process_ = 0;
    std::optional<int> status_;
};

} // namespace tavu::test
