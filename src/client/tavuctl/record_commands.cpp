#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/pace.h"
#include "client/tavuctl/progress.h"
#include "client/tools/file_text.h"
#include "client/tools/json_values.h"
#include "client/tools/recording.h"
#include "client/tools/text.h"

#include <algorithm>
#include <chrono>
#include <exception>

namespace tavu::ctl {

namespace {

/// Between two looks at the counts of frames. Finer ones would show more of the jitter, and keep
/// the device busy with answers.
constexpr unsigned kLookMilliseconds = 10;
constexpr unsigned kFullPercent = 95;
constexpr double kSilentSeconds = 3;

struct RecordOptions : RecordingPlan
{
    std::optional<uint64_t> triggerAfter; ///< microseconds
    bool detach = false;
    bool stats = false;
    std::string name;
};

/// How the frames of one port come.
struct PortPace
{
    uint8_t port = 0;
    uint64_t frameBytes = 0; ///< 0 when the port's frame size isn't known
    bool inPretrigger = false;
    uint64_t inLoop = 0; ///< frames, before the trigger
    Pace pace{true};
};

/// A recording under way. The object's end stops it, unless that was done or it was left.
class RunningRecording
{
public:
    RunningRecording(Session &session, const client::RecordingSettings &settings)
        : session_(session)
    {
        session.service().startRecording(session.device, settings);
    }
    RunningRecording(const RunningRecording &) = delete;
    RunningRecording &operator=(const RunningRecording &) = delete;
    ~RunningRecording()
    {
        if (left_)
            return;
        try {
            stop();
        } catch (const std::exception &) {
            // Whatever made us come here is the error that people want to see.
        }
    }

    void stop()
    {
        left_ = true;
        session_.service().stopRecording(session_.device);
    }

    /// Lets the recording run on.
    void leave() { left_ = true; }

private:
    Session &session_;
    bool left_ = false;
};

std::vector<PortPace> pacesOf(Session &session, const RecordOptions &options)
{
    std::vector<PortPace> paces;
    for (const uint32_t number : options.ports) {
        PortPace &port = paces.emplace_back();
        port.port = static_cast<uint8_t>(number);
        const client::PortConfig config =
            session.service().getPortConfig(session.device, port.port);
        port.frameBytes = uint64_t(config.width) * config.height * sizeof(uint16_t);
    }
    return paces;
}

void look(Session &session, std::vector<PortPace> &ports)
{
    for (PortPace &port : ports) {
        const client::RecordingProgress state =
            session.service().recordingProgress(session.device, port.port);
        // What is in the loop doesn't count as recorded yet.
        port.inPretrigger = state.inPretrigger;
        port.inLoop = state.inPretrigger ? state.numFrames : 0;
        if (!state.inPretrigger)
            port.pace.add(Pace::Clock::now(), state.numFrames, port.frameBytes);
    }
}

ProgressState stateOf(const std::vector<PortPace> &ports, const RecordOptions &options)
{
    std::vector<Pace> paces;
    uint64_t count = 0;
    uint64_t inLoop = 0;
    double idle = 0;
    bool waiting = false;
    for (const PortPace &port : ports) {
        count += port.pace.count();
        inLoop += port.inLoop;
        waiting = waiting || port.inPretrigger;
        idle = std::max(idle, port.pace.idle());
        paces.push_back(port.pace);
    }
    ProgressState state;
    if (waiting || (options.externalStart && count == 0)) {
        state.label = "waiting for the trigger";
        if (options.pretrigger)
            state.details.push_back(counted(inLoop, "frame") + " in the loop");
        return state;
    }
    state.label = "recording";
    state.count = count;
    if (options.frames)
        state.total = *options.frames * ports.size();
    state.details = paceTexts(paces);
    // A camera that has fallen silent is what people must see first.
    if (idle >= kSilentSeconds)
        state.details.insert(state.details.begin(), "none for " + decimals(idle, 0) + " s");
    return state;
}

/// Shows the progress until the recording ends by itself or somebody wants it to. False when
/// somebody did.
bool watchRecording(Session &session, const RecordOptions &options, std::vector<PortPace> &ports)
{
    using Clock = std::chrono::steady_clock;
    client::Connection &service = session.service();
    const auto start = Clock::now();
    bool triggered = !options.triggerAfter;
    Progress progress;
    while (true) {
        const auto before = Clock::now();
        const bool done = service.isRecordingDone(session.device);
        look(session, ports);
        const auto after = Clock::now();
        const auto passed = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(after - start).count());
        ProgressState state = stateOf(ports, options);
        if (options.time && state.count)
            state.fraction = done ? 1.0 : double(passed) / double(*options.time);
        progress.update(std::move(state));
        if (done)
            return true;
        if (interrupted())
            return false;
        if (!triggered && passed >= *options.triggerAfter) {
            service.softwareTrigger(session.device);
            triggered = true;
        }
        // A device that is slow to answer isn't asked all the time.
        const auto pause = std::max<Clock::duration>(std::chrono::milliseconds(kLookMilliseconds),
                                                     2 * (after - before));
        pauseFor(static_cast<unsigned>(
            std::chrono::duration_cast<std::chrono::milliseconds>(pause).count()));
    }
}

Json statsJson(const std::vector<PortPace> &ports)
{
    Json list = Json::array();
    for (const PortPace &port : ports) {
        Json &json = list.emplace_back(Json{{"port", port.port}});
        addPace(json, port.pace);
    }
    return list;
}

void showStats(const std::vector<PortPace> &ports)
{
    std::vector<std::vector<std::string>> rows = {paceHeads()};
    rows[0].insert(rows[0].begin(), "PORT");
    for (const PortPace &port : ports) {
        std::vector<std::string> &row = rows.emplace_back(paceCells(port.pace));
        row.insert(row.begin(), std::to_string(port.port));
    }
    print(table(rows));
}

void showRecorded(const Session &session, const RecordOptions &options,
                  const std::vector<client::FileEntry> &files, const std::vector<PortPace> &ports)
{
    if (session.json) {
        if (options.stats)
            return printJson({{"files", toJson(files)}, {"stats", statsJson(ports)}});
        return printJson(toJson(files));
    }
    for (const client::FileEntry &file : files)
        printLine("recorded " + fileSummary(file));
    if (options.stats)
        showStats(ports);
}

/// False, after telling so, when fewer frames were stored than taken. A recording that ended by
/// itself (\a complete) counts as having taken all that it was asked for.
bool allStored(Session &session, const RecordOptions &options, bool complete,
               const std::vector<client::FileEntry> &files)
{
    uint64_t taken = 0, stored = 0;
    for (const uint32_t port : options.ports)
        taken += session.service()
                     .recordingProgress(session.device, static_cast<uint8_t>(port))
                     .numFrames;
    if (complete && options.frames && !options.externalStop)
        taken = std::max(taken, *options.frames * options.ports.size());
    for (const client::FileEntry &file : files)
        stored += file.numFrames;
    if (stored >= taken)
        return true;
    note("tavuctl: " + std::to_string(stored) + " of " + counted(taken, "frame") +
         " were stored: is there no room left?\n`tavuctl remove" + session.deviceOption() +
         "` makes some");
    return false;
}

void stopRecording(RunningRecording &recording, const RecordOptions &options)
{
    try {
        recording.stop();
    } catch (const client::ServiceError &error) {
        if (!options.externalStart && !options.externalStop)
            throw;
        throw Failure(printable(error.what()) +
                      "\nthe device took the order but didn't record: it may have no external "
                      "trigger, as the emulated device has none");
    }
}

/// What is missing on the ports, a line each.
std::string adviceForPorts(Session &session, const RecordOptions &options)
{
    std::string advice;
    for (const uint32_t port : options.ports) {
        const std::string text = adviceForUnreadyPort(session, static_cast<uint8_t>(port));
        advice += (advice.empty() || text.empty() ? "" : "\n") + text;
    }
    return advice;
}

/// Raises what the service said, with what a person can do about it.
[[noreturn]] void failStart(Session &session, const RecordOptions &options,
                            const client::ServiceError &error)
{
    if (!adviceFor(error.what(), session).empty())
        throw client::ServiceError(error);
    std::string advice = adviceForPorts(session, options);
    // A recorder's start that fails half-way would spoil the next one.
    if (session.service().hardwareType(session.device) != client::kEmulatedDevice)
        advice += (advice.empty() ? "`" : "\n`") + ("tavuctl stop" + session.deviceOption()) +
                  "` makes the recorder forget what was prepared";
    if (advice.empty())
        throw client::ServiceError(error);
    throw Failure(printable(error.what()) + "\n" + advice);
}

/// A recorder takes whatever its camera sends, and stores it under a frame size that is missing.
void warnOfUnreadyPorts(Session &session, const RecordOptions &options)
{
    if (session.service().hardwareType(session.device) == client::kEmulatedDevice)
        return;
    const std::string advice = adviceForPorts(session, options);
    if (!advice.empty())
        note(advice);
}

/// Tells how much of the storage is in use. What keeps it from being known also keeps the recording
/// from its start, which says so better.
void tellStorage(Session &session)
{
    try {
        const unsigned percent = session.service().percentUsed(session.device);
        const std::string used = std::to_string(percent) + "% used";
        if (percent > kFullPercent)
            note("tavuctl: warning: the storage is " + used + "; `tavuctl remove" +
                 session.deviceOption() + "` makes room");
        else
            note("storage: " + used);
    } catch (const client::ServiceError &) {
    }
}

int record(Session &session, const RecordOptions &options)
{
    session.service();
    tellStorage(session);
    catchInterrupts();
    std::optional<RunningRecording> recording;
    try {
        recording.emplace(session, settingsOf(options));
    } catch (const client::ServiceError &error) {
        failStart(session, options, error);
    }
    warnOfUnreadyPorts(session, options);
    if (options.detach) {
        recording->leave();
        printLine("recording; `tavuctl stop" + session.deviceOption() + "` ends it");
        return kSuccess;
    }
    if (!options.frames && !options.time && !options.externalStop)
        note("recording until Ctrl-C");
    std::vector<PortPace> ports = pacesOf(session, options);
    const bool complete = watchRecording(session, options, ports);
    stopRecording(*recording, options);

    std::vector<client::FileEntry> files =
        recordedFiles(session.service(), session.device, options);
    if (!options.name.empty()) {
        nameRecordings(session.service(), session.device, options.name, files);
        files = recordedFiles(session.service(), session.device, options);
    }
    showRecorded(session, options, files, ports);
    if (!allStored(session, options, complete, files))
        return kFailure;
    if (complete || (!options.frames && !options.time))
        return kSuccess;
    note("tavuctl: interrupted; the recording is shorter than was asked for");
    return kFailure;
}

void addRecord(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand(
        "record", "Record until there are enough frames, the time is over, or Ctrl-C");
    const auto options = std::make_shared<RecordOptions>();
    addDeviceOption(*command, session);
    command->add_option("-p,--port", options->ports, "Port to record; give several as 0,1 [0]")
        ->type_name("N")
        ->delimiter(',')
        ->check(numberIn(0u, 31u));
    CLI::Option *frames =
        command->add_option("-n,--frames", options->frames, "Stop after this many frames")
            ->type_name("N")
            ->check(numberIn(uint64_t(1)));
    addDurationOption(*command, "-t,--time", options->time, "Stop after this time: 10s, 500ms, 2m");
    command->get_option("--time")->excludes(frames);
    command->add_option("--name", options->name, "Name of the recording");
    addDurationOption(*command, "--pretrigger", options->pretrigger,
                      "Keep this much from before the trigger; then wait for it");
    addDurationOption(*command, "--trigger-after", options->triggerAfter,
                      "Fire the software trigger after this time");
    command->add_flag("--external-start", options->externalStart,
                      "The external input starts the recording");
    command->add_flag("--external-stop", options->externalStop,
                      "The external input stops the recording");
    command->add_flag("--start-variant", options->startVariant,
                      "Use the other variant of the start input");
    command->add_flag("--stop-variant", options->stopVariant,
                      "Use the other variant of the stop input");
    command->add_flag("--detach", options->detach, "Only start it; `stop` ends it")
        ->excludes("--name");
    command
        ->add_flag("--stats", options->stats,
                   "Print at the end how fast and how evenly the frames came, as far as looks at "
                   "their count every 10 ms show it")
        ->excludes("--detach");
    addJsonOption(*command, session);
    addExamples(*command, {"record --frames 90", "record --frames 900 --stats",
                           "record --time 10s --name \"Second try\"",
                           "record --port 0,1 --pretrigger 2s --trigger-after 5s --frames 300",
                           "record --external-start --external-stop", "record --detach"});
    setAction(*command, session, [&session, options] {
        if (options->time == 0u)
            throw UsageError("--time: a recording takes some time");
        return record(session, *options);
    });
}

void addStop(CLI::App &app, Session &session)
{
    CLI::App *command =
        app.add_subcommand("stop", "Stop a recording, also one that has ended by itself");
    addDeviceOption(*command, session);
    addExamples(*command, {"stop"});
    setAction(*command, session, [&session] {
        session.service().stopRecording(session.device);
        printLine("the recording is stopped and stored");
        return kSuccess;
    });
}

void addTrigger(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand("trigger", "Fire the software trigger of a recording");
    addDeviceOption(*command, session);
    addExamples(*command, {"trigger"});
    setAction(*command, session, [&session] {
        session.service().softwareTrigger(session.device);
        printLine("the trigger is fired");
        return kSuccess;
    });
}

} // namespace

void addRecordCommands(CLI::App &app, Session &session)
{
    addRecord(app, session);
    addStop(app, session);
    addTrigger(app, session);
}

} // namespace tavu::ctl
