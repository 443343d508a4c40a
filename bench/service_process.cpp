#include "service_process.h"

#include "measure.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sched.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tavu::bench {

Workplace::Workplace(const std::filesystem::path &root)
{
    std::string pattern = root / "tavu_bench_XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("no folder can be made at " + pattern);
    path_ = pattern;
    enter();
    std::filesystem::create_directories(recordings());
}

void Workplace::enter() const
{
    ::setenv("XDG_RUNTIME_DIR", path_.c_str(), 1);
    ::setenv("XDG_DATA_HOME", path_.c_str(), 1);
    ::setenv("TAVUSRV_ENABLE_EMULATOR", "1", 1);
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

Process::Process(const std::vector<std::string> &arguments)
{
    std::vector<char *> pointers;
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0);
    const int error =
        ::posix_spawn(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("can't start " + arguments[0]);
}

Process::~Process()
{
    if (pid_ <= 0)
        return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

void Process::join()
{
    int status = 0;
    ::waitpid(std::exchange(pid_, -1), &status, 0);
    if (status != 0)
        throw std::runtime_error("a peer has failed");
}

std::string programPath(const std::string &name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

namespace {

std::string servicePath = programPath("tavusvc");

std::vector<std::string> peerCommand(std::vector<std::string> words)
{
    words.insert(words.begin(), programPath("bench_peer"));
    return words;
}

} // namespace

void useService(const std::string &path)
{
    servicePath = path;
}

ServiceProcess::ServiceProcess() : Process({servicePath, "noautoclose"}) {}

PeerProcess::PeerProcess(std::vector<std::string> roleAndArguments)
    : Process(peerCommand(std::move(roleAndArguments)))
{
}

double startService()
{
    std::optional<ServiceProcess> service;
    return secondsOf([&] {
        service.emplace();
        Client client;
    });
}

double runPeer(const std::vector<std::string> &roleAndArguments)
{
    return secondsOf([&] { PeerProcess(roleAndArguments).join(); });
}

std::vector<int> processors()
{
    cpu_set_t set;
    ::sched_getaffinity(0, sizeof set, &set);
    std::vector<int> numbers;
    for (int i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &set))
            numbers.push_back(i);
    }
    return numbers;
}

void pin(const std::vector<int> &processors)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (const int processor : processors)
        CPU_SET(processor, &set);
    if (::sched_setaffinity(0, sizeof set, &set) != 0)
        throw std::runtime_error("a process can't be kept to its processors");
}

} // namespace tavu::bench
