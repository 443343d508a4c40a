#include "service_process.h"

#include "measure.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

/// A socket that is connected to the service, which may still have to come up.
LocalSocket *connectedSocket()
{
    auto socket = std::make_unique<LocalSocket>();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!socket->connect(kPipeName)) {
        if (std::chrono::steady_clock::now() > limit)
            throw std::runtime_error("the service doesn't come up");
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return socket.release();
}

} // namespace

Workplace::Workplace(const std::filesystem::path &root)
{
    std::string pattern = root / "tavu_bench_XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("no folder can be made at " + pattern);
    path_ = pattern;
    ::setenv("XDG_RUNTIME_DIR", path_.c_str(), 1);
    ::setenv("XDG_DATA_HOME", path_.c_str(), 1);
    ::setenv("TAVUSRV_ENABLE_EMULATOR", "1", 1);
    std::filesystem::create_directories(recordings());
}

Workplace::~Workplace()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path Workplace::emulator() const
{
    return path_ / "OREK Systems" / "TAVU" / "Emulator";
}

pid_t startProgram(const std::vector<std::string> &arguments)
{
    std::vector<char *> pointers;
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("can't start " + arguments[0]);
    return pid;
}

std::string programPath(const std::string &name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

ServiceProcess::ServiceProcess() : pid_(startProgram({programPath("tavusvc"), "noautoclose"})) {}

ServiceProcess::~ServiceProcess()
{
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

double startService()
{
    std::optional<ServiceProcess> service;
    return secondsOf([&] {
        service.emplace();
        Client client;
    });
}

Client::Client() : Client(connectedSocket()) {}

Client::Client(LocalSocket *socket) : Connection(std::unique_ptr<Channel>(socket)), socket_(*socket)
{
}

void configure(Client &client, uint16_t width, uint16_t height, uint8_t port)
{
    client.pairPort(0, port, {"bench", {}, 1});
    client.setPortConfig(0, port, {width, height, 0, 0});
}

client::RecordingTarget recordFrames(Client &client, int frames)
{
    client::RecordingSettings settings;
    settings.stopCondition = StopCondition::FrameCount;
    settings.count = static_cast<uint64_t>(frames);
    client.startRecording(0, settings);
    while (!client.isRecordingDone(0))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    client.stopRecording(0);
    return client.recordingFile(0, 0);
}

} // namespace tavu::bench
