#pragma once

#include "call_gate.h"
#include "hardware/library/instance.h"
#include "recorder.h"
#include "watched_file.h"

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace simulator {

/// The folder that describes everything, the recorders found there, and the thread that looks at
/// it. Lives as long as the process, as recorders do. Any thread.
class Installation
{
public:
    using Change = std::function<void(uint32_t)>;

    /// What a change callback is told.
    enum class Event : uint32_t
    {
        Arrived = 1,
        Left = 2,
        Changed = 3,
    };

    /// Reads the library's own files. An empty \a folder describes nothing.
    explicit Installation(std::filesystem::path folder);
    Installation(const Installation &) = delete;
    Installation &operator=(const Installation &) = delete;

    /// For operations that belong to no recorder.
    const CallGate &gate() const { return gate_; }
    Quillon::VersionInfo version() const;

    /// Finds the recorders and starts watching the files.
    void start();
    /// Stops watching and pulls all recorders out.
    void stop();

    /// All recorders ever seen, in the order of their numbers.
    std::vector<boost::shared_ptr<Recorder>> recorders() const;

    uint32_t addCallback(const Change &callback);
    /// Waits for a call of the callback that is under way, unless the callback itself calls this.
    void removeCallback(uint32_t id);

private:
    /// A folder of the installation with the files that describe a recorder.
    struct Place
    {
        explicit Place(const std::filesystem::path &folder);

        WatchedFile description;
        WatchedFile faults;
        boost::shared_ptr<Recorder> recorder; ///< null until its description can be read
    };

    void watch();
    void checkFiles();
    /// Places for the folders that have come since the last time.
    std::vector<Place *> newPlaces();
    void checkPlace(Place &place);
    /// What the place's file says now; none, after a report, when it can't be understood.
    std::optional<RecorderDescription> describe(const Place &place) const;
    void makeRecorder(Place &place);
    /// True when the version has changed.
    bool loadLibraryFile();
    void notify(Event event);

    const std::filesystem::path folder_;
    const CallGate gate_;

    // After the start these are used by the watching thread alone.
    WatchedFile libraryFile_;
    WatchedFile faultsFile_;
    std::filesystem::path callLog_;
    std::map<std::filesystem::path, Place> places_;

    mutable std::mutex mutex_;
    Quillon::VersionInfo version_;
    std::vector<boost::shared_ptr<Recorder>> recorders_;
    std::condition_variable stopped_;
    bool stopping_ = false;

    std::mutex callbackMutex_;
    std::condition_variable callbackEnded_;
    std::map<uint32_t, Change> callbacks_;
    uint32_t lastCallback_ = 0;
    uint32_t runningCallback_ = 0; ///< 0: none
    std::thread::id callbackThread_;

    std::thread thread_;
};

/// The gate of the last installation; before the first one, a gate without log and faults.
CallGate libraryGate();

} // namespace simulator
