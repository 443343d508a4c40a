#pragma once

#include "recordings.h"
#include "trips.h"

#include <cstdint>
#include <filesystem>
#include <memory>
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

    /// Makes it the one in use again, after another one was made.
    void enter() const;

    /// The folder of the emulated device's records, and the one of its recordings below it.
    std::filesystem::path emulator() const;
    std::filesystem::path recordings() const { return emulator() / "Emu"; }

private:
    std::filesystem::path path_;
};

/// A running program of this build, or of another one; killed at the end. Its output goes nowhere.
class Process
{
public:
    /// The first of the arguments is the program's path.
    explicit Process(const std::vector<std::string> &arguments);
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    pid_t pid() const { return pid_; }
    /// Waits until it ends by itself; raises when it fails.
    void join();

private:
    pid_t pid_;
};

/// The path of a program of this build.
std::string programPath(const std::string &name);
/// Makes all that follows measure the service at \a path instead of the one of this build.
void useService(const std::string &path);

/// A running tavusvc. Its device 0 is the emulated device, unless a RecorderLab is there.
struct ServiceProcess : Process
{
    ServiceProcess();
};

/// A peer in one of the roles of peers/roles.h.
struct PeerProcess : Process
{
    explicit PeerProcess(std::vector<std::string> roleAndArguments);
};

/// Seconds from the start of a service's process to its first answer.
double startService();
/// Seconds from the start of a peer's process to its end.
double runPeer(const std::vector<std::string> &roleAndArguments);

/// A connection to the service; waits for it to come up.
class Client : public client::Connection
{
public:
    Client() : Client(connectedSocket().release()) {}

    /// For requests and replies that are sent and taken by hand.
    LocalSocket &socket() { return socket_; }

private:
    /// Takes the socket over.
    explicit Client(LocalSocket *socket)
        : Connection(std::unique_ptr<Channel>(socket)), socket_(*socket)
    {
    }

    LocalSocket &socket_;
};

/// The processors that this process may use.
std::vector<int> processors();
/// Keeps this process and those that it starts from now on to some processors. Waking somebody on
/// another one takes several times as long as on one's own, and where the system puts whom would
/// else decide a ratio. A process that is to stay elsewhere is started under its own pin.
void pin(const std::vector<int> &processors);

} // namespace tavu::bench
