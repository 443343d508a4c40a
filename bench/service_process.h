#pragma once

#include "client/connection.h"
#include "service/transport/local_socket.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>
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

/// A connection to the service; waits for it to come up.
class Client : public client::Connection
{
public:
    Client();

    /// For requests and replies that are sent and taken by hand.
    LocalSocket &socket() { return socket_; }

private:
    /// Takes the socket over.
    explicit Client(LocalSocket *socket);

    LocalSocket &socket_;
};

/// Pairs a port of device 0 and gives it a frame size.
void configure(Client &client, uint16_t width, uint16_t height, uint8_t port = 0);
/// Records frames on the first port of device 0.
client::RecordingTarget recordFrames(Client &client, int frames);

} // namespace tavu::bench
