#include "child_process.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
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

void redirect(const char *path, int to)
{
    close(to);
    if (*path == '\0')
        return;
    const int from = open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (from != to) {
        dup2(from, to);
        close(from);
    }
}

} // namespace

ChildProcess::ChildProcess(const ProcessOptions &options)
{
    std::vector<std::string> environment = childEnvironment(options);
    std::vector<std::string> arguments = options.arguments;
    arguments.insert(arguments.begin(), options.program);
    const std::vector<char *> environmentPointers = pointers(environment);
    const std::vector<char *> argumentPointers = pointers(arguments);
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
        redirect(options.errorPath.c_str(), STDERR_FILENO);
        redirect(options.outputPath.c_str(), STDOUT_FILENO);
        execve(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
        _exit(127);
    }
    if (child < 0)
        throw std::runtime_error("can't start " + options.program);
    process_ = child;
}

ChildProcess::~ChildProcess()
{
    if (!exitStatus()) {
        kill(static_cast<pid_t>(process_), SIGKILL);
        waitpid(static_cast<pid_t>(process_), nullptr, 0);
    }
}

std::optional<int> ChildProcess::exitStatus()
{
    int status = 0;
    if (!status_ && waitpid(static_cast<pid_t>(process_), &status, WNOHANG) != 0)
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return status_;
}

uint64_t ChildProcess::residentBytes() const
{
    std::ifstream file("/proc/" + std::to_string(process_) + "/statm");
    uint64_t total = 0, resident = 0;
    file >> total >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

} // namespace tavu::test
