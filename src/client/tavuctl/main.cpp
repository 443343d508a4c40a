#include "client/tavuctl/advice.h"
#include "client/tavuctl/command_line.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tools/text.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>
#include <string_view>

namespace {

using namespace tavu::ctl;

void addCommands(CLI::App &app, Session &session)
{
    app.require_subcommand(1);
    app.set_version_flag("--version", "tavuctl " TAVU_VERSION);
    app.get_formatter()->column_width(34);
    app.failure_message(CLI::FailureMessage::simple);
    addDeviceCommands(app, session);
    addPortCommands(app, session);
    addRecordCommands(app, session);
    addFileCommands(app, session);
    addPlaybackCommands(app, session);
    addLiveCommand(app, session);
    addWatchCommand(app, session);
    addRecoveryCommands(app, session);
    addLockCommand(app, session);
    addCameraCommands(app, session);
    addCallCommand(app, session);
    addProtocolCommand(app, session);
    addCompletionCommand(app, session);
    app.footer("A first recording:\n"
               "  tavuctl status\n"
               "  tavuctl pair \"My camera\"\n"
               "  tavuctl configure 1280x1024\n"
               "  tavuctl record --frames 90\n"
               "  tavuctl play last --check\n"
               "  tavuctl export last --frames first -o first.png\n\n"
               "`tavuctl COMMAND --help` shows the options of a command, and examples.\n"
               "The exit status is 0 when all went well, 1 when the service or the work failed, 2 "
               "for a\ncommand line that makes no sense.");
}

/// Says what went wrong, and below it what to do.
int fail(const std::string &text, const std::string &advice = {}, int status = kFailure)
{
    note("tavuctl: " + text);
    if (!advice.empty())
        note(advice);
    return status;
}

/// The help or version asked for, or a complaint about the command line.
int endParsing(const CLI::App &app, const CLI::ParseError &end)
{
    std::ostringstream out;
    std::ostringstream errors;
    const int status = app.exit(end, out, errors);
    print(out.str());
    if (status == 0)
        return kSuccess;
    const CLI::App *command = &app;
    while (!command->get_subcommands().empty())
        command = command->get_subcommands().front();
    return fail(end.what(), helpAdvice(*command), kUsage);
}

int failService(const tavu::client::ServiceError &error, Session &session)
{
    std::string advice;
    try {
        advice = adviceFor(error.what(), session);
    } catch (const std::exception &) {
        // The error itself is what matters.
    }
    return fail(printable(error.what()), advice);
}

int runProgram(int argc, char **argv, Session &session)
{
    CLI::App app("Drives the recorders of a running tavusvc: records, plays back, exports.",
                 "tavuctl");
    addCommands(app, session);
    // For the scripts that `completion` prints, whose words are no command line of ours.
    if (argc > 1 && argv[1] == std::string_view("complete"))
        return printCompletion(app, {argv + 2, argv + argc}, session);
    checkCommandLine(app, {argv + 1, argv + argc});
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &end) {
        return endParsing(app, end);
    }
    return session.action();
}

} // namespace

int main(int argc, char **argv)
{
    prepareStandardStreams();
    Session session;
    try {
        return runProgram(argc, argv, session);
    } catch (const OutputClosed &) {
        return kFailure;
    } catch (const UsageError &error) {
        return fail(error.what(), {}, kUsage);
    } catch (const tavu::client::ServiceError &error) {
        return failService(error, session);
    } catch (const std::exception &error) {
        return fail(error.what());
    }
}
