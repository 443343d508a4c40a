#include "service.h"

#include "pipe.h"
#include "support/wait.h"
#include "surroundings.h"

#include <condition_variable>
#include <exception>
#include <gtest/gtest.h>
#include <stdexcept>
#include <stop_token>

namespace tavu::test {

Service::Service(const std::vector<std::string> &arguments, const std::string &labFolder)
    : emulatorFolder(separate(folder.path) / "OREK Systems/TAVU/Emulator"), arguments_(arguments)
{
    using Variable = std::optional<std::string>;
    const bool simulated = !labFolder.empty();
    setVariable("QUILLON_PATH_X64", simulated ? Variable(SIMULATOR_PATH) : std::nullopt);
    setVariable("QUILLON_SIMULATOR_FOLDER", labFolder);
    setVariable("TAVUSRV_ENABLE_EMULATOR", simulated ? std::nullopt : Variable("1"));
    start();
    watchdog_ = std::jthread([this](std::stop_token stop) {
        std::unique_lock lock(mutex_);
        std::condition_variable_any ended;
        const auto isOver = [&] { return stop.stop_requested(); };
        if (!ended.wait_for(lock, stop, 3 * kLimit, isOver) && process_)
            process_->kill();
    });
}

Service::~Service()
{
    if (!arguments_.empty())
        kill();
    try {
        // A service that never had a client waits for one.
        const auto hasEnded = [&] {
            Pipe().connect();
            return !process_ || process_->exitStatus();
        };
        EXPECT_TRUE(waitUntil(hasEnded));
        EXPECT_TRUE(!process_ || process_->exitStatus() == 0);
        for (const char *sign : {"Sanitizer", "runtime error:", "terminate called"})
            EXPECT_EQ(errors().find(sign), std::string::npos) << errors();
    } catch (const std::exception &exception) {
        ADD_FAILURE() << exception.what();
    }
}

std::unique_ptr<ChildProcess> Service::startAnother() const
{
    return std::make_unique<ChildProcess>(TAVUSVC_PATH, arguments_,
                                          hasOutput ? (folder.path / "stdout").string() : "",
                                          (folder.path / "stderr").string());
}

void Service::start()
{
    std::lock_guard guard(mutex_);
    process_ = startAnother();
}

void Service::kill()
{
    std::lock_guard guard(mutex_);
    process_.reset();
}

int Service::waitForExit()
{
    if (!waitUntil([&] { return process_->exitStatus().has_value(); }))
        throw std::runtime_error("the service doesn't stop");
    return *process_->exitStatus();
}

} // namespace tavu::test
