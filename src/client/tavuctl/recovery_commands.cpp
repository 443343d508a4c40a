#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/status_line.h"
#include "client/tools/file_text.h"
#include "client/tools/json_values.h"
#include "client/tools/recording_state.h"
#include "client/tools/text.h"

#include <array>
#include <chrono>
#include <thread>

namespace tavu::ctl {

namespace {

constexpr unsigned kPollMilliseconds = 200;

std::string statusText(RecoveryStatus status)
{
    static constexpr std::array<const char *, 5> kTexts = {
        "no recovery has run", "a recovery is running", "the last recovery failed",
        "the last recovery succeeded", "the last recovery was cancelled"};
    const auto number = static_cast<uint32_t>(status);
    return number < kTexts.size() ? kTexts[number] : "state " + std::to_string(number);
}

std::string stateText(RecordingState state)
{
    switch (state) {
    case RecordingState::Nothing:
        return "there is no incomplete recording";
    case RecordingState::UnderWay:
        return "a recording is under way";
    case RecordingState::Ended:
        return "a recording has come to its end and waits to be stopped";
    case RecordingState::CutOff:
        return "there is an incomplete recording that was cut off";
    case RecordingState::EndedOrCutOff:
        break;
    }
    return "there is an incomplete recording: it was cut off, or has come to its end and waits to "
           "be stopped";
}

int showStatus(Session &session)
{
    client::Connection &service = session.service();
    const RecordingState state = recordingState(service, session.device);
    const bool incomplete = state != RecordingState::Nothing;
    std::optional<RecoveryStatus> status;
    std::string text;
    try {
        status = service.recoveryStatus(session.device);
        text = statusText(*status);
    } catch (const client::ServiceError &error) {
        text = service.hardwareType(session.device) == client::kEmulatedDevice
                   ? "the emulated device can't recover"
                   : "the recovery's state is unknown (" + printable(error.what()) + ")";
    }
    const std::string error = service.recoveryError(session.device);
    if (session.json) {
        printJson({{"incomplete", incomplete},
                   {"status", status ? Json(static_cast<uint32_t>(*status)) : Json()},
                   {"error", error}});
        return kSuccess;
    }
    printLine(stateText(state));
    const bool failed = status == RecoveryStatus::Failed && !error.empty();
    printLine(text + (failed ? ": " + printable(error) : ""));
    if (status == RecoveryStatus::Done && incomplete)
        note("`tavuctl recover finish" + session.deviceOption() +
             "` puts it into the list, unless that was done");
    return kSuccess;
}

/// Waits for the end of a recovery; Ctrl-C cancels it.
RecoveryStatus waitForRecovery(Session &session)
{
    client::Connection &service = session.service();
    const auto start = std::chrono::steady_clock::now();
    StatusLine line;
    line.hurry();
    catchInterrupts();
    bool cancelled = false;
    RecoveryStatus status = service.recoveryStatus(session.device);
    while (status == RecoveryStatus::Running) {
        if (interrupted() && !cancelled) {
            service.cancelRecovery(session.device);
            cancelled = true;
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        if (line.isDue())
            line.show("recovering, " + decimals(passed.count(), 1) + " s; " +
                      (cancelled ? "told to end" : "Ctrl-C cancels it"));
        // Not pauseFor(), which no longer waits after an interrupt.
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
        status = service.recoveryStatus(session.device);
    }
    return status;
}

/// Puts what was salvaged into the list, and tells what it is.
int finish(Session &session)
{
    client::Connection &service = session.service();
    const size_t known = service.listFiles(session.device).size();
    service.finishRecovery(session.device);
    const std::vector<client::FileEntry> files = service.listFiles(session.device);
    // What is new stands at the end of the list.
    for (size_t i = known; i < files.size(); ++i)
        printLine("recovered " + fileSummary(files[i]));
    if (files.size() <= known)
        printLine("there were no frames to recover");
    // Ports that don't share a file leave one each.
    if (service.hasIncompleteFile(session.device) && service.isRecordingDone(session.device))
        note("there is a further one: `tavuctl recover start" + session.deviceOption() + "`");
    return kSuccess;
}

/// Raises Failure when there is nothing that could be recovered right now.
void requireCutOff(Session &session)
{
    const std::string device = session.deviceOption();
    switch (recordingState(session.service(), session.device)) {
    case RecordingState::Nothing:
        throw Failure("there is no incomplete recording");
    case RecordingState::UnderWay:
        throw Failure("a recording is under way: `tavuctl stop" + device + "` ends it");
    case RecordingState::Ended:
        throw Failure("a recording has come to its end: `tavuctl stop" + device + "` stores it");
    case RecordingState::CutOff:
        throw Failure("a recording was cut off, and the emulated device can't salvage it\n"
                      "`tavuctl recover discard" +
                      device + "` removes it; the next recording overwrites it anyway");
    case RecordingState::EndedOrCutOff:
        break;
    }
}

int start(Session &session, bool detach)
{
    requireCutOff(session);
    session.service().startRecovery(session.device);
    const std::string device = session.deviceOption();
    if (detach) {
        printLine(
            "the recovery runs; `tavuctl recover status" + device +
            "` tells when it is done, `recover finish` then puts the recording into the list");
        return kSuccess;
    }
    const RecoveryStatus status = waitForRecovery(session);
    if (status == RecoveryStatus::Done)
        return finish(session);
    if (status == RecoveryStatus::Failed)
        throw Failure(
            "the recovery failed: " + printable(session.service().recoveryError(session.device)) +
            "\n`tavuctl recover start" + device + "` tries again, `recover discard" + device +
            "` gives the recording up");
    if (status == RecoveryStatus::Cancelled)
        throw Failure("the recovery was cancelled; `tavuctl recover start" + device +
                      "` begins anew");
    throw Failure(statusText(status));
}

/// Refuses unless a recovery is done: finishing closes the file, which a running one still uses.
int finishDetached(Session &session)
{
    std::optional<RecoveryStatus> status;
    try {
        status = session.service().recoveryStatus(session.device);
    } catch (const client::ServiceError &) {
        // The emulated device knows no recovery; finish() raises what it says.
    }
    if (status && *status != RecoveryStatus::Done)
        throw Failure("there is nothing to finish: " + statusText(*status));
    return finish(session);
}

int discard(Session &session, bool confirmed)
{
    client::Connection &service = session.service();
    const RecordingState state = recordingState(service, session.device);
    if (state == RecordingState::Nothing)
        throw Failure("there is no incomplete recording");
    if (!confirmed)
        confirm("On device " + std::to_string(session.device) + " " + stateText(state) +
                ". This removes it for good.");
    service.discardIncompleteFile(session.device);
    printLine("the incomplete recording is gone");
    return kSuccess;
}

CLI::App *addStep(CLI::App &parent, Session &session, const std::string &name,
                  const std::string &help, std::function<int()> action)
{
    CLI::App *command = parent.add_subcommand(name, help);
    addDeviceOption(*command, session);
    setAction(*command, session, std::move(action));
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

    addStep(*recover, session, "finish", "Put what was salvaged into the list",
            [&session] { return finishDetached(session); });
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
