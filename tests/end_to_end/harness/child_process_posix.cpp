#include "child_process.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace tavu::test {

namespace {

std::vector<std::string> childEnvironment(const ProcessOptions &options)
{
    std::vector<std::string> result;
    for (char **entry = environ; *entry != nullptr; entry++) {
        const std::string text = *entry;
        if (!options.environment.contains(text.substr(0, text.find('='))))
            result.push_back(text);
    }
    for (const auto &[name, value] : options.environment)
        if (value)
            result.push_back(name + '=' + *value);
    return result;
}

std::vector<char *> pointers(std::vector<std::string> &texts)
{
    std::vector<char *> result;
    for (std::string &text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

void redirect(int from, int to)
{
    if (from >= 0) {
        dup2(from, to);
        close(from);
    }
}

int openForAppend(const std::string &path)
{
    return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

int openOutput(const ProcessOptions &options)
{
    if (options.output == StandardOutput::ToFile)
        return openForAppend(options.outputPath);
    int ends[2] = {-1, -1};
    if (options.output == StandardOutput::Broken && pipe2(ends, O_CLOEXEC) == 0)
        close(ends[0]);
    return ends[1];
}

} // namespace

ChildProcess::ChildProcess(const ProcessOptions &options)
{
    std::vector<std::string> environment = childEnvironment(options);
    std::vector<std::string> arguments = options.arguments;
    arguments.insert(arguments.begin(), options.program);
    const std::vector<char *> environmentPointers = pointers(environment);
    const std::vector<char *> argumentPointers = pointers(arguments);
    const int output = openOutput(options);
    const int error = openForAppend(options.errorPath);

    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        // Only calls that are safe between fork and exec. The service must not outlive a test that
        // was itself killed, and a crash is to leave no core behind.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        signal(SIGPIPE, SIG_DFL);
        redirect(output, STDOUT_FILENO);
        redirect(error, STDERR_FILENO);
        if (options.output == StandardOutput::Closed)
            close(STDOUT_FILENO);
        execve(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
        _exit(127);
    }
    for (const int descriptor : {output, error})
        if (descriptor >= 0)
            close(descriptor);
    if (child < 0)
        throw std::runtime_error("can't start " + options.program);
    process_ = child;
}

ChildProcess::~ChildProcess() { kill(); }

std::optional<int> ChildProcess::exitStatus()
{
    int status = 0;
    if (!status_ && waitpid(static_cast<pid_t>(process_), &status, WNOHANG) != 0)
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return status_;
}

int ChildProcess::waitForExit(std::chrono::seconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!exitStatus()) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("the process doesn't end");
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return *status_;
}

void ChildProcess::kill()
{
    if (exitStatus())
        return;
    ::kill(static_cast<pid_t>(process_), SIGKILL);
    waitForExit(std::chrono::seconds(60));
}

uint64_t ChildProcess::residentBytes() const
{
    std::ifstream file("/proc/" + std::to_string(process_) + "/statm");
    uint64_t total = 0, resident = 0;
    file >> total >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

} // namespace tavu::test
