#include "client/tavuview/browser.h"

#include "platform/descriptor_posix.h"
#include "platform/environment.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace tavu::view {

bool hasDesktop()
{
    return environmentFlag("DISPLAY") || environmentFlag("WAYLAND_DISPLAY");
}

bool BrowserFile::open(const std::string &address)
{
    std::string path = environmentVariable("XDG_RUNTIME_DIR").value_or("");
    path = (path.empty() ? "/tmp" : path) + "/tavuview-XXXXXX.html";
    // Made with the mode 0600, and only where there was nothing before.
    const Descriptor file(::mkostemps(path.data(), 5, O_CLOEXEC));
    if (!file)
        return false;
    path_ = path;
    const std::string page = pageLeadingTo(address);
    if (::write(file.get(), page.data(), page.size()) != static_cast<ssize_t>(page.size()))
        return false;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    char program[] = "xdg-open";
    char *const words[] = {program, path.data(), nullptr};
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, program, &actions, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return false;
    // It may run as long as the browser does.
    std::thread([child] { ::waitpid(child, nullptr, 0); }).detach();
    return true;
}

} // namespace tavu::view
