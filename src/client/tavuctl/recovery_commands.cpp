#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/json_values.h"
#include "client/tavuctl/text.h"

#include <array>
#include <chrono>
#include <thread>

namespace tavu::ctl {

namespace {

using client::RecoveryStatus;

constexpr unsigned kPollMilliseconds = 200;

std::string statusText(RecoveryStatus status)
{
    static constexpr std::array<const char *, 5> kTexts = {
        "no recovery has run", "running", "failed", "done, to be finished", "cancelled"};
    const auto number = static_cast<uint32_t>(status);
    return number < kTexts.size() ? kTexts[number] : "state " + std::to_string(number);
}

int showStatus(Session &session)
{
    client::Connection &service = session.service();
    const bool incomplete = service.hasIncompleteFile(session.device);
    std::optional<RecoveryStatus> status;
    std::string text;
    try {
        status = service.recoveryStatus(session.device);
        text = statusText(*status);
    } catch (const client::ServiceError &error) {
        text = "unknown (" + printable(error.what()) + ")";
    }
    const std::string error = service.recoveryError(session.device);
    if (session.json) {
        printJson({{"incomplete", incomplete},
                   {"status", status ? Json(static_cast<uint32_t>(*status)) : Json()},
                   {"error", error}});
        return kSuccess;
    }
    printLine(incomplete ? "there is an incomplete recording, under way or cut off"
                         : "there is no incomplete recording");
    printLine("recovery: " + text + (error.empty() ? "" : ": " + printable(error)));
    return kSuccess;
}

/// Waits for the end of a recovery; Ctrl-C cancels it.
RecoveryStatus waitForRecovery(Session &session)
{
    client::Connection &service = session.service();
    note("recovering; Ctrl-C cancels it");
    catchInterrupts();
    bool cancelled = false;
    RecoveryStatus status = service.recoveryStatus(session.device);
    while (status == RecoveryStatus::Running) {
        if (interrupted() && !cancelled) {
            service.cancelRecovery(session.device);
            cancelled = true;
        }
        // An interrupt has ended pauseFor() for good.
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
        status = service.recoveryStatus(session.device);
    }
    return status;
}

void finish(Session &session)
{
    session.service().finishRecovery(session.device);
    printLine("the recording is recovered: `tavuctl files" + session.deviceOption() + "` lists it");
}

int start(Session &session, bool detach)
{
    client::Connection &service = session.service();
    try {
        service.startRecovery(session.device);
    } catch (const client::ServiceError &error) {
        if (service.hardwareType(session.device) != 1)
            throw;
        throw Failure(printable(error.what()) +
                      "\nthe emulated device can't recover: `tavuctl recover discard" +
                      session.deviceOption() + "` removes a recording that was cut off");
    }
    if (detach) {
        printLine("the recovery runs; `tavuctl recover finish" + session.deviceOption() +
                  "` ends it when its status is done");
        return kSuccess;
    }
    const RecoveryStatus status = waitForRecovery(session);
    if (status == RecoveryStatus::Failed)
        throw Failure("the recovery failed: " + printable(service.recoveryError(session.device)));
    if (status != RecoveryStatus::Done)
        throw Failure("the recovery ended: " + statusText(status));
    finish(session);
    return kSuccess;
}

int discard(Session &session, bool confirmed)
{
    client::Connection &service = session.service();
    if (!service.hasIncompleteFile(session.device))
        throw Failure("there is no incomplete recording");
    if (!confirmed)
        confirm("This removes the incomplete recording of device " +
                std::to_string(session.device) +
                " for good. (While a recording is under way, that is the one.)");
    service.discardIncompleteFile(session.device);
    printLine("the incomplete recording is gone");
    return kSuccess;
}

CLI::App *addStep(CLI::App &parent, Session &session, const std::string &name,
                  const std::string &help, std::function<int()> action)
{
    CLI::App *command = parent.add_subcommand(name, help);
    addDeviceOption(*command, session);
    command->callback([&session, action = std::move(action)] { session.action = action; });
    return command;
}

} // namespace

void addRecoveryCommands(CLI::App &app, Session &session)
{
    CLI::App *recover =
        app.add_subcommand("recover", "Salvage or discard a recording that was cut off");
    recover->require_subcommand(1);
    addExamples(*recover, {"recover status", "recover start", "recover discard --yes"});

    CLI::App *status = addStep(*recover, session, "status", "Tell whether there is one",
                               [&session] { return showStatus(session); });
    addJsonOption(*status, session);

    const auto detach = std::make_shared<bool>(false);
    addStep(*recover, session, "start", "Salvage it, wait for the end, and finish",
            [&session, detach] { return start(session, *detach); })
        ->add_flag("--detach", *detach, "Only start it; `recover finish` does the rest");

    addStep(*recover, session, "finish", "Put what was salvaged into the list", [&session] {
        finish(session);
        return kSuccess;
    });
    addStep(*recover, session, "cancel", "Cancel a recovery that runs", [&session] {
        session.service().cancelRecovery(session.device);
        printLine("the recovery was told to end");
        return kSuccess;
    });

    const auto yes = std::make_shared<bool>(false);
    addStep(*recover, session, "discard", "Remove it", [&session, yes] {
        return discard(session, *yes);
    })->add_flag("-y,--yes", *yes, "Don't ask");
}

} // namespace tavu::ctl
