#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tavu::test {

enum class StandardOutput
{
    ToFile,
    Closed, ///< the process starts without one
    Broken, ///< a pipe whose reader is gone
};

struct ProcessOptions
{
    std::string program;
    std::vector<std::string> arguments;
    /// Changes to this process's environment; without a value the variable is taken out.
    std::map<std::string, std::optional<std::string>> environment;
    StandardOutput output = StandardOutput::ToFile;
    std::string outputPath; ///< appended to
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
    ~ChildProcess();

    /// The exit status, below 0 when the process crashed; empty when it still runs.
    std::optional<int> exitStatus();
    /// Waits for the end. Raises std::runtime_error when the limit passes.
    int waitForExit(std::chrono::seconds limit);
    /// At once and without a chance to clean up; returns when the process is gone.
    void kill();
    /// Memory that the process occupies, in bytes.
    uint64_t residentBytes() const;

private:
    intptr_t process_ = 0;
    std::optional<int> status_;
};

} // namespace tavu::test
