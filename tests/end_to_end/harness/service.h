#pragma once

#include "child_process.h"
#include "support/environment.h"
#include "support/files.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavu::test {

/// The real service, with the emulated device, in a folder of its own. The destructor expects that
/// it stops by itself with status 0, once its last client has left, and that it has printed no
/// sanitizer report. A service with arguments is killed instead. One that runs for minutes is
/// killed too, so that a request without a reply can't hang the test.
class Service
{
public:
    /// With a lab's folder the service has those recorders instead of the emulated device.
    explicit Service(const std::vector<std::string> &arguments = {},
                     const std::string &labFolder = "");
    ~Service();

    /// Starts it again in the same folder, after it has ended.
    void start();
    void kill();
    /// Waits until it has stopped by itself.
    int waitForExit();
    bool hasEnded() { return process_->exitStatus().has_value(); }
    /// One more process in the same folder.
    std::unique_ptr<ChildProcess> startAnother() const;
    uint64_t residentBytes() const { return process_->residentBytes(); }
    intptr_t processId() const { return process_->id(); }
    std::string output() const { return readLines(folder.path / "stdout"); }
    std::string errors() const { return readLines(folder.path / "stderr"); }

    TemporaryFolder folder;
    std::filesystem::path emulatorFolder;
    bool hasOutput = true; ///< what start() starts has a standard output

private:
    std::vector<std::string> arguments_;
    std::mutex mutex_; ///< guards process_ against the watchdog
    std::unique_ptr<ChildProcess> process_;
    std::jthread watchdog_;
};

} // namespace tavu::test
