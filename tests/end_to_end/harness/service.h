#pragma once

#include "child_process.h"
#include "pipe.h"
#include "service/transport/shared_region.h"
#include "wire.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace tavu::test {

/// Asks again and again until it holds; false when that takes too long.
bool waitUntil(const std::function<bool()> &condition);

/// A text file, with plain line ends.
std::string readLines(const std::string &path);
/// For what the standard library does with a path of ours, which is UTF-8.
std::filesystem::path nativePath(const std::string &path);
void writeFile(const std::string &path, const Bytes &content);

/// A fresh folder under a short name, removed with all that is in it.
struct TemporaryFolder
{
    TemporaryFolder();
    ~TemporaryFolder();

    std::string path;
};

/// The real service, with the emulated device, in a folder of its own. At the end it is expected to
/// stop by itself with status 0 as its last client leaves (with arguments it is killed), and to
/// have printed no sanitizer report. One that runs for minutes is killed: that ends the calls of a
/// test that hangs.
class Service
{
public:
    /// With a folder of simulated recorders it has those instead of the emulated device.
    explicit Service(const std::vector<std::string> &arguments = {},
                     const std::string &labFolder = "");
    ~Service();

    /// Starts it again in the same folder, after its end.
    void start();
    void kill();
    /// Waits until it has stopped by itself.
    int waitForExit();
    bool hasEnded() { return process_->exitStatus().has_value(); }
    /// One more process in the same folder.
    std::unique_ptr<ChildProcess> startAnother() const;
    uint64_t residentBytes() const { return process_->residentBytes(); }
    intptr_t processId() const { return process_->id(); }
    std::string output() const { return readLines(folder.path + "/stdout"); }
    std::string errors() const { return readLines(folder.path + "/stderr"); }

    TemporaryFolder folder;
    std::string emulatorFolder; ///< with a slash at the end
    bool hasOutput = true;      ///< what start() starts has a standard output

private:
    std::vector<std::string> arguments_;
    std::mutex mutex_; ///< guards process_ against the watchdog
    std::unique_ptr<ChildProcess> process_;
    std::jthread watchdog_;
};

/// A connection to a service, for requests and replies.
class Client
{
public:
    /// Waits until the service listens, and makes the handshake unless told not to. Raises
    /// std::runtime_error when it waits too long, or \a gaveUp.
    explicit Client(bool handshake = true, const std::function<bool()> &gaveUp = {});

    /// False when the service has closed its end.
    bool send(const Bytes &bytes);
    void request(uint64_t ordinal, std::string_view params = "");
    Value reply();
    /// The whole reply as text.
    std::string call(uint64_t ordinal, std::string_view params = "");
    /// What stands below "result"; raises std::runtime_error on another reply.
    Value result(uint64_t ordinal, std::string_view params = "");
    /// All that comes until the service closes its end.
    Bytes receiveUntilEnd();
    void close() { pipe_.close(); }

private:
    Pipe pipe_;
};

/// The text of an error reply.
std::string error(std::string_view text);

/// Pairs the emulated port with the camera "Cam" and the block 01 02, and sets its geometry.
void configure(Client &client, uint32_t width, uint32_t height);
/// Starts a recording that runs until it is stopped, and waits for its first frames.
void startRecording(Client &client);
/// Records so many frames and returns the file's id.
uint64_t record(Client &client, uint64_t frameCount);
/// The frame with this number of an emulated recording.
Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height);
/// Ramp values from \a first on, as bytes.
Bytes expectedRamp(uint64_t first, uint64_t count);

/// Plays lines such as "A 28 D openFileId=0 -> !File not open": the client, which connects when it
/// is first named, an ordinal, the parameters, and the reply: "ok", an error's text behind "!", "*"
/// for any result, or what is below "result" (with #61*9} for nine bytes 61, TIME for a time). With
/// "=>" the request is made until it has that reply. "A configures 4 3", "A records 2" and "A
/// leaves" are lines too.
class Script
{
public:
    void play(std::string_view lines);
    Client &operator[](const std::string &name);

private:
    void playLine(const std::string &line);

    std::map<std::string, std::unique_ptr<Client>> clients_;
};

/// A region of the service, mapped.
class Region
{
public:
    /// Maps the region that a reply with a "mapping" names; raises std::runtime_error.
    explicit Region(const Value &result);

    Bytes bytes(uint64_t count, uint64_t offset = 0) const;
    /// Whether the name still leads to this region; spoils the contents. Names are short and come
    /// back soon, also in another service.
    bool isReachable();

    std::string name;

private:
    SharedRegion region_;
};

} // namespace tavu::test
