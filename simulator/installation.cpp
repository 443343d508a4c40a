#include "installation.h"

#include "errors.h"
#include "settings_file.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace simulator {

namespace {

constexpr const char *kReporter = "quillon simulator";
constexpr std::chrono::milliseconds kCheckInterval(50);
constexpr Quillon::VersionInfo kDefaultVersion{2, 1, 0, 38};

Quillon::VersionInfo parseVersion(const std::string &text)
{
    uint32_t numbers[4] = {};
    size_t first = 0;
    for (uint32_t &number : numbers) {
        const size_t dot = &number == &numbers[3] ? std::string::npos : text.find('.', first);
        if (first > text.size())
            throw std::runtime_error("\"" + text + "\" is not of the form 2.1.0.38");
        number = parseSmallNumber(text.substr(first, dot - first));
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
    std::filesystem::path callLog; ///< relative to the installation's folder; empty: none
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
        report(kReporter, "QUILLON_SIMULATOR_FOLDER names no folder, so there are no recorders");
        return;
    }
    std::error_code error;
    if (!std::filesystem::is_directory(folder_, error))
        report(kReporter, nameOf(folder_) + " is not a folder, so there are no recorders");
    if (libraryFile_.readFirst())
        attempt(kReporter, [&] { loadLibraryFile(); });
    if (faultsFile_.readFirst())
        attempt(kReporter, [&] { gate_.commonFaults->load(faultsFile_.path()); });
}

Quillon::VersionInfo Installation::version() const
{
    std::lock_guard guard(mutex_);
    return version_;
}

void Installation::start()
{
    if (folder_.empty())
        return;
    for (Place *place : newPlaces())
        if (place->description.readFirst())
            makeRecorder(*place);
    thread_ = std::thread(&Installation::watch, this);
}

void Installation::stop()
{
    {
        std::lock_guard guard(mutex_);
        stopping_ = true;
    }
    stopped_.notify_all();
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach(); // a callback has dropped the last handle
    else if (thread_.joinable())
        thread_.join();
    for (const auto &recorder : recorders())
        recorder->pullOut();
}

std::vector<boost::shared_ptr<Recorder>> Installation::recorders() const
{
    std::lock_guard guard(mutex_);
    return recorders_;
}

uint32_t Installation::addCallback(const Change &callback)
{
    std::lock_guard guard(callbackMutex_);
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
    while (!stopped_.wait_for(lock, kCheckInterval, [&] { return stopping_; })) {
        lock.unlock();
        attempt(kReporter, [&] { checkFiles(); });
        lock.lock();
    }
}

void Installation::checkFiles()
{
    if (faultsFile_.hasChanged())
        attempt(kReporter, [&] { gate_.commonFaults->load(faultsFile_.path()); });
    bool hasNewVersion = false;
    if (libraryFile_.hasChanged())
        attempt(kReporter, [&] { hasNewVersion = loadLibraryFile(); });
    if (hasNewVersion)
        notify(Event::Changed);
    newPlaces();
    for (auto &[folder, place] : places_)
        checkPlace(place);
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

void Installation::checkPlace(Place &place)
{
    if (place.recorder && place.faults.hasChanged())
        attempt(kReporter,
                [&] { place.recorder->gate().recorderFaults->load(place.faults.path()); });
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
    attempt(kReporter, [&] { description = readRecorderDescription(place.description.path()); });
    return description;
}

void Installation::makeRecorder(Place &place)
{
    const auto description = describe(place);
    if (!description)
        return;
    attempt(kReporter, [&] {
        const std::filesystem::path folder = place.description.path().parent_path();
        CallGate gate = gate_;
        gate.recorderFaults = std::make_shared<FaultPlan>();
        gate.recorderName = nameOf(folder.filename());
        if (place.faults.readFirst())
            attempt(kReporter, [&] { gate.recorderFaults->load(place.faults.path()); });
        place.recorder = boost::make_shared<Recorder>(folder, gate, *description);
        std::lock_guard guard(mutex_);
        recorders_.push_back(place.recorder);
    });
}

bool Installation::loadLibraryFile()
{
    const LibraryDescription description =
        libraryFile_.exists() ? readLibraryDescription(libraryFile_.path()) : LibraryDescription();
    if (std::exchange(callLog_, description.callLog) != description.callLog)
        attempt(kReporter, [&] {
            gate_.log->open(description.callLog.empty() ? description.callLog
                                                        : folder_ / description.callLog);
        });
    std::lock_guard guard(mutex_);
    const auto before = numbersOf(std::exchange(version_, description.version));
    return before != numbersOf(description.version);
}

void Installation::notify(Event event)
{
    std::unique_lock lock(callbackMutex_);
    for (uint32_t next = 0;;) {
        // Callbacks can be added and removed while one of them runs.
        const auto entry = callbacks_.upper_bound(next);
        if (entry == callbacks_.end())
            return;
        next = entry->first;
        const Change callback = entry->second;
        runningCallback_ = next;
        callbackThread_ = std::this_thread::get_id();
        lock.unlock();
        attempt(kReporter, [&] { callback(static_cast<uint32_t>(event)); });
        lock.lock();
        runningCallback_ = 0;
        callbackThread_ = std::thread::id();
        callbackEnded_.notify_all();
    }
}

} // namespace simulator
