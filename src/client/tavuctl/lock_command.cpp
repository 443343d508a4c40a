#include "client/tavuctl/arguments.h"
#include "client/tavuctl/child_process.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"

namespace tavu::ctl {

namespace {

int holdLock(Session &session, const std::vector<std::string> &program)
{
    client::Connection &service = session.service();
    service.lockGlobal();
    if (!program.empty()) {
        const int status = runProgram(program);
        service.unlockGlobal();
        return status;
    }
    // Only now: until the lock is ours, Ctrl-C shall end us at once.
    catchInterrupts();
    note("holding the lock; Ctrl-C gives it back");
    while (!interrupted()) {
        pauseFor(1000);
        // Raises when the service has ended, and the lock with it.
        service.deviceCount();
    }
    service.unlockGlobal();
    return kSuccess;
}

} // namespace

void addLockCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand(
        "lock", "Hold the lock that clients use among themselves, while a program runs or until "
                "Ctrl-C");
    const auto program = std::make_shared<std::vector<std::string>>();
    command->add_option("PROGRAM", *program,
                        "Program and its arguments, behind a --; its exit status becomes ours");
    addExamples(*command, {"lock", "lock -- my-script --with options"});
    setAction(*command, session, [&session, program] { return holdLock(session, *program); });
}

} // namespace tavu::ctl
