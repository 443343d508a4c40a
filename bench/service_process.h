#pragma once

#include "encoding/object_value.h"
#include "service/transport/local_socket.h"

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace tavu::bench {

/// A folder of this run's own, removed with all that is in it. While it exists, this process and
/// the services that it starts have their sockets and data in it.
class Workplace
{
public:
    explicit Workplace(const std::filesystem::path &root = std::filesystem::temp_directory_path());
    Workplace(const Workplace &) = delete;
    Workplace &operator=(const Workplace &) = delete;
    ~Workplace();

    const std::filesystem::path &folder() const { return path_; }

    /// The folder of the emulated device's records, and the one of its recordings below it.
    std::filesystem::path emulator() const;
    std::filesystem::path recordings() const { return emulator() / "Emu"; }

private:
    std::filesystem::path path_;
};

/// Starts a program; the first argument is its path. Its output goes nowhere.
pid_t startProgram(const std::vector<std::string> &arguments);
/// The path of a program of this build.
std::string programPath(const std::string &name);

/// A running tavusvc, killed at the end. Its device 0 is the emulated device, unless a RecorderLab
/// is there.
class ServiceProcess
{
public:
    ServiceProcess();
    ServiceProcess(const ServiceProcess &) = delete;
    ServiceProcess &operator=(const ServiceProcess &) = delete;
    ~ServiceProcess();

    pid_t pid() const { return pid_; }

private:
    pid_t pid_;
};

/// Seconds from the start of a service's process to its first answer.
double startService();

using Params = std::initializer_list<std::pair<const char *, uint64_t>>;

/// A request with integer parameters, whole, as it goes over the pipe.
std::vector<uint8_t> encodeRequest(uint64_t ordinal, Params params);

/// A connection that has shaken hands. Waits for the service to come up.
class Client
{
public:
    Client();

    /// The result of a command; nil when it has none. Raises std::runtime_error with the text of an
    /// error reply.
    ObjectValue call(uint64_t ordinal, Params params = {{"deviceId", 0}});
    ObjectValue call(uint64_t ordinal, const ObjectValue &params);
    void send(const std::vector<uint8_t> &request);
    ObjectValue receive();
    LocalSocket &socket() { return socket_; }

private:
    LocalSocket socket_;
};

/// Pairs a port of device 0 and gives it a frame size.
void configure(Client &client, uint16_t width, uint16_t height, uint8_t port = 0);
/// Records frames on the first port of device 0; returns the file's id and its stream's.
std::pair<uint64_t, uint64_t> recordFrames(Client &client, int frames);

} // namespace tavu::bench
