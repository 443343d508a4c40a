#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tavu::test {

struct ProcessOptions
{
    std::string program;
    std::vector<std::string> arguments;
    /// Changes to this process's environment; without a value the variable is taken out.
    std::map<std::string, std::optional<std::string>> environment;
    std::string outputPath; ///< appended to; empty: the process starts without standard output
    std::string errorPath;  ///< appended to
};

/// A process that lives no longer than this object, nor than this process.
class ChildProcess
{
public:
    /// Raises std::runtime_error when the process can't be started.
    explicit ChildProcess(const ProcessOptions &options);
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    /// Kills it hard and returns when it is gone.
    ~ChildProcess();

    /// The exit status, below 0 when the process crashed; empty when it still runs.
    std::optional<int> exitStatus();
    /// Memory that the process occupies, in bytes.
    uint64_t residentBytes() const;

private:
    intptr_t process_ = 0;
    std::optional<int> status_;
};

} // namespace tavu::test
