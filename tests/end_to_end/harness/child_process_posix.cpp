#include "child_process.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavu::test {

namespace {

void redirect(const std::string &path, int to)
{
    close(to);
    if (!path.empty())
        dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), to);
}

} // namespace

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments,
                           const std::string &outputPath, const std::string &errorPath)
{
    std::vector<char *> pointers = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        // Only calls that are safe between fork and exec. The signal ends the service when the
        // test is killed; the limit keeps a crash from writing a core file.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        redirect(errorPath, STDERR_FILENO);
        redirect(outputPath, STDOUT_FILENO);
        if (getppid() == parent)
            execv(pointers[0], pointers.data());
        _exit(127);
    }
    if (child < 0)
        throw std::runtime_error("can't start " + program);
    process_ = child;
}

ChildProcess::~ChildProcess()
{
    if (!exitStatus()) {
        kill();
        waitpid(static_cast<pid_t>(process_), nullptr, 0);
    }
}

void ChildProcess::kill()
{
    ::kill(static_cast<pid_t>(process_), SIGKILL);
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
