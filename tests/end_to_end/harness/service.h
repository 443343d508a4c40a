#pragma once

#include "child_process.h"
#include "raw_pipe.h"
#include "service/shared_region.h"

#include <functional>
#include <memory>

namespace tavu::test {

/// Asks again and again until it holds; false when that takes too long.
bool waitUntil(const std::function<bool()> &condition);

std::string readFile(const std::string &path);
void writeFile(const std::string &path, const Bytes &content);

/// A fresh folder under a short name, removed with all that is in it.
class TemporaryFolder
{
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder();

    std::string path;
};

/// The real service in a folder of its own. At the end it is expected to stop by itself with status
/// 0 as its last client leaves (with "noautoclose" it is killed), to have printed no sanitizer
/// report and to have left no region behind.
class Service
{
public:
    struct Options
    {
        bool emulator = true;
        std::vector<std::string> arguments;
        std::map<std::string, std::optional<std::string>> environment;
        StandardOutput output = StandardOutput::ToFile;
    };

    Service();
    explicit Service(const Options &options);
    ~Service();

    /// Starts it again in the same folder, after its end.
    void start();
    void kill();
    /// The status with which it stops by itself.
    int waitForExit();
    uint64_t residentBytes() const { return process_->residentBytes(); }
    std::string output() const { return readFile(processOptions.outputPath); }
    std::string errors() const { return readFile(processOptions.errorPath); }

    TemporaryFolder folder;
    /// Where the emulated device keeps its files, with a slash at the end.
    std::string emulatorFolder;
    /// What start() starts; for tests that start one more.
    ProcessOptions processOptions;

private:
    bool endsByItself_;
    std::unique_ptr<ChildProcess> process_;
};

/// A connection to a service, for requests and replies.
class Client
{
public:
    /// Waits until the service listens, and makes the handshake unless told not to.
    explicit Client(Service &service, bool handshake = true);

    /// The whole reply as text.
    std::string call(uint64_t ordinal, std::string_view params = "");
    /// What stands below "result"; raises std::runtime_error on another reply.
    Value result(uint64_t ordinal, std::string_view params = "");
    void request(uint64_t ordinal, std::string_view params = "");
    Value reply();

    RawPipe pipe;
};

/// The text of an error reply.
std::string error(std::string_view text);

/// A region of the service, mapped.
class Region
{
public:
    /// Raises std::runtime_error when there is no such region.
    explicit Region(const std::string &name);

    Bytes bytes(uint64_t count, uint64_t offset = 0) const;
    uint16_t pixel(uint64_t index) const;
    void fill(char byte);
    /// Whether the name still leads to this region; spoils the contents. Names are short and come
    /// back soon, also in another service.
    bool isReachable();

    std::string name;

private:
    SharedRegion region_;
};

} // namespace tavu::test
