#include "installation.h"

#include "settings_file.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <utility>

namespace simulator {

namespace {

constexpr std::chrono::milliseconds kLookInterval(50);
constexpr Quillon::VersionInfo kDefaultVersion{2, 1, 0, 38};

void report(const std::string &text)
{
    std::fprintf(stderr, "quillon simulator: %s\n", text.c_str());
    std::fflush(stderr);
}

/// Does something with a file, and reports what it raises.
template <typename Action>
void guarded(Action action)
{
    try {
        action();
    } catch (const std::exception &error) {
        report(error.what());
    } catch (const Common::GeneralException &error) {
        report(error.what());
    }
}

Quillon::VersionInfo parseVersion(const std::string &text)
{
    uint32_t numbers[4] = {};
    size_t first = 0;
    for (uint32_t &number : numbers) {
        const size_t dot = &number == &numbers[3] ? std::string::npos : text.find('.', first);
        if (first > text.size())
            throw std::runtime_error("\"" + text + "\" is not of the form 2.1.0.38");
        number = uint32_t(parseNumber(text.substr(first, dot - first), 0, UINT32_MAX));
        first = dot == std::string::npos ? text.size() + 1 : dot + 1;
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::array<uint32_t, 4> numbersOf(const Quillon::VersionInfo &version)
{
    return {version.majorNumber, version.minorNumber, version.thirdNumber, version.fourthNumber};
}

/// What library.conf says.
struct LibraryDescription
{
    Quillon::VersionInfo version = kDefaultVersion;
    std::filesystem::path callLog; ///< from the folder of the installation; empty: none
};

LibraryDescription readLibraryDescription(const std::filesystem::path &file)
{
    LibraryDescription description;
    for (const Setting &setting : readSettings(file)) {
        try {
            if (setting.section.empty() && setting.key == "version")
                description.version = parseVersion(setting.value);
            else if (setting.section.empty() && setting.key == "call log")
                description.callLog = pathOf(setting.text());
            else
                throw std::runtime_error("there is no key \"" + setting.key + "\" here");
        } catch (const std::runtime_error &error) {
            failAt(file, setting.line, error.what());
        }
    }
    return description;
}

bool startsAlphabeticallyBefore(const std::filesystem::path &left,
                                const std::filesystem::path &right)
{
    return nameOf(left.filename()) < nameOf(right.filename());
}

} // namespace

Installation::Place::Place(const std::filesystem::path &folder)
    : description(folder / "recorder.conf"), faults(folder / "faults.conf")
{
}

Installation::Installation(std::filesystem::path folder)
    : folder_(std::move(folder)), gate_{std::make_shared<CallLog>(), std::make_shared<FaultPlan>()},
      libraryFile_(folder_ / "library.conf"), faultsFile_(folder_ / "faults.conf"),
      version_(kDefaultVersion)
{
    if (folder_.empty()) {
        report("QUILLON_SIMULATOR_FOLDER names no folder, so there are no recorders");
        return;
    }
    std::error_code error;
    if (!std::filesystem::is_directory(folder_, error))
        report(nameOf(folder_) + " is not a folder, so there are no recorders");
    if (libraryFile_.lookFirst())
        guarded([&] { loadLibraryFile(); });
    if (faultsFile_.lookFirst())
        guarded([&] { gate_.commonFaults->load(faultsFile_.path()); });
}

Quillon::VersionInfo Installation::version() const
{
    const std::lock_guard lock(mutex_);
    return version_;
}

void Installation::start()
{
    if (folder_.empty())
        return;
    for (Place *place : newPlaces())
        if (place->description.lookFirst())
            makeRecorder(*place);
    thread_ = std::thread(&Installation::watch, this);
}

void Installation::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    stopped_.notify_all();
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach(); // the last handle went in a callback
    else if (thread_.joinable())
        thread_.join();
    for (const auto &recorder : recorders())
        recorder->pullOut();
}

std::vector<boost::shared_ptr<Recorder>> Installation::recorders() const
{
    const std::lock_guard lock(mutex_);
    return recorders_;
}

uint32_t Installation::addCallback(const Change &callback)
{
    const std::lock_guard lock(callbackMutex_);
    callbacks_[++lastCallback_] = callback;
    return lastCallback_;
}

void Installation::removeCallback(uint32_t id)
{
    std::unique_lock lock(callbackMutex_);
    callbacks_.erase(id);
    if (callbackThread_ != std::this_thread::get_id())
        callbackEnded_.wait(lock, [&] { return runningCallback_ != id; });
}

void Installation::watch()
{
    std::unique_lock lock(mutex_);
    while (!stopped_.wait_for(lock, kLookInterval, [&] { return stopping_; })) {
        lock.unlock();
        guarded([&] { look(); });
        lock.lock();
    }
}

void Installation::look()
{
    if (faultsFile_.hasChanged())
        guarded([&] { gate_.commonFaults->load(faultsFile_.path()); });
    bool isNoticeable = false;
    if (libraryFile_.hasChanged())
        guarded([&] { isNoticeable = loadLibraryFile(); });
    if (isNoticeable)
        notify(Event::Changed);
    newPlaces();
    for (auto &[folder, place] : places_)
        lookAt(place);
}

std::vector<Installation::Place *> Installation::newPlaces()
{
    std::vector<std::filesystem::path> folders;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (places_.count(entry->path()) == 0 && entry->is_directory(unknown))
            folders.push_back(entry->path());
    }
    std::sort(folders.begin(), folders.end(), startsAlphabeticallyBefore);
    std::vector<Place *> places;
    for (const std::filesystem::path &folder : folders)
        places.push_back(&places_.try_emplace(folder, folder).first->second);
    return places;
}

void Installation::lookAt(Place &place)
{
    if (place.recorder && place.faults.hasChanged())
        guarded([&] { place.recorder->gate().recorderFaults->load(place.faults.path()); });
    if (!place.description.hasChanged())
        return;
    if (!place.recorder) {
        if (place.description.exists())
            makeRecorder(place);
        if (place.recorder)
            notify(Event::Arrived);
        return;
    }
    const bool wasConnected = place.recorder->isConnected();
    const auto before = place.recorder->description();
    if (!place.description.exists()) {
        place.recorder->pullOut();
    } else if (const auto after = describe(place)) {
        place.recorder->describe(*after);
    }
    const auto after = place.recorder->description();
    if (*after == *before)
        return;
    notify(after->connected == wasConnected ? Event::Changed
           : wasConnected                   ? Event::Left
                                            : Event::Arrived);
}

std::optional<RecorderDescription> Installation::describe(const Place &place) const
{
    std::optional<RecorderDescription> description;
    guarded([&] { description = readRecorderDescription(place.description.path()); });
    return description;
}

void Installation::makeRecorder(Place &place)
{
    const auto description = describe(place);
    if (!description)
        return;
    guarded([&] {
        const std::filesystem::path folder = place.description.path().parent_path();
        CallGate gate = gate_;
        gate.recorderFaults = std::make_shared<FaultPlan>();
        gate.recorderName = nameOf(folder.filename());
        if (place.faults.lookFirst())
            guarded([&] { gate.recorderFaults->load(place.faults.path()); });
        place.recorder = boost::make_shared<Recorder>(folder, gate, *description);
        const std::lock_guard lock(mutex_);
        recorders_.push_back(place.recorder);
    });
}

bool Installation::loadLibraryFile()
{
    const LibraryDescription description =
        libraryFile_.exists() ? readLibraryDescription(libraryFile_.path()) : LibraryDescription();
    if (std::exchange(callLog_, description.callLog) != description.callLog)
        guarded([&] {
            gate_.log->open(description.callLog.empty() ? description.callLog
                                                        : folder_ / description.callLog);
        });
    const std::lock_guard lock(mutex_);
    const auto before = numbersOf(std::exchange(version_, description.version));
    return before != numbersOf(description.version);
}

void Installation::notify(Event event)
{
    std::unique_lock lock(callbackMutex_);
    for (uint32_t next = 0;;) {
        // They can come and go while one of them runs.
        const auto entry = callbacks_.upper_bound(next);
        if (entry == callbacks_.end())
            return;
        next = entry->first;
        const Change callback = entry->second;
        runningCallback_ = next;
        callbackThread_ = std::this_thread::get_id();
        lock.unlock();
        guarded([&] { callback(uint32_t(event)); });
        lock.lock();
        runningCallback_ = 0;
        callbackThread_ = std::thread::id();
        callbackEnded_.notify_all();
    }
}

} // namespace simulator
