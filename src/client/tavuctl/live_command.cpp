#include "client/playback.h"
#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_check.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/progress.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

namespace tavu::ctl {

namespace {

/// What a video tells its players where nobody says.
constexpr double kVideoRate = 25;

struct LiveOptions
{
    std::vector<uint32_t> ports = {0};
    std::optional<uint64_t> frames;
    std::string output;
    std::string format;
    std::optional<double> rate;
    LevelsOf levels;
    bool check = false;
    bool stats = false;
};

/// What all ports of one command share.
struct LivePlan
{
    std::optional<FrameFormat> format; ///< empty when frames are only counted
    uint64_t frames = 1;               ///< of each port
    unsigned pause = 0;                ///< milliseconds between frames
    std::atomic<bool> ended = false;   ///< set by a port that fails, to end the others
};

std::optional<FrameFormat> formatOf(const LiveOptions &options, bool json)
{
    if (!options.format.empty() || !options.output.empty())
        return chooseFormat(options.format, options.output);
    // Pictures of characters are for people; a script has no use for them.
    const bool forPeople = options.ports.size() == 1 && isConsole(stdout) && !json;
    return forPeople ? std::optional(FrameFormat::Terminal) : std::nullopt;
}

/// Refuses options that contradict each other, before anything is started.
void checkOptions(const LiveOptions &options, std::optional<FrameFormat> format, bool json)
{
    const bool several = options.ports.size() > 1;
    if (json && (format == FrameFormat::Terminal || options.output == "-"))
        throw UsageError("standard output can't take both frames and JSON");
    if (several && format == FrameFormat::Terminal)
        throw UsageError("a terminal shows one port: give one, or say with -o where the frames go");
    if (format && format != FrameFormat::Terminal && options.output.empty())
        throw UsageError("say with -o where the frames go");
    if (several && !options.output.empty() && portPath(options.output, 0) == options.output)
        throw UsageError("the ports would write over each other's files: put %p, which stands for "
                         "the port, into " +
                         inQuotes(options.output));
    for (size_t i = 0; i < options.ports.size(); ++i) {
        if (std::find(options.ports.begin(), options.ports.begin() + i, options.ports[i]) !=
            options.ports.begin() + i)
            throw UsageError("port " + std::to_string(options.ports[i]) + " stands there twice");
    }
}

/// A port that is watched over a connection of its own, so that none waits for another.
class LivePort
{
public:
    LivePort(const Session &session, const LiveOptions &options, LivePlan &plan, uint8_t port)
        : port_(port), plan_(plan), live_(service_, session.device, port)
    {
        if (options.check && service_.hardwareType(session.device) == client::kEmulatedDevice)
            throw Failure("the live frames of the emulated device have no number to check");
        if (plan.format == FrameFormat::Terminal)
            sink_ = makeTerminalSink([this] { return caption(); });
        else if (plan.format)
            sink_ = makeFileSink({*plan.format, portPath(options.output, port), plan.frames,
                                  options.rate.value_or(kVideoRate), options.levels});
        if (options.check)
            check_.emplace(
                [this](uint64_t, const client::FrameView &frame) { return faultOf(frame); });
    }

    /// Takes frames until there are enough or the plan has ended. An error is kept for failure().
    void run()
    {
        try {
            takeFrames();
        } catch (...) {
            failure_ = std::current_exception();
            plan_.ended = true;
        }
        running_ = false;
    }

    uint8_t port() const { return port_; }
    bool isRunning() const { return running_; }
    /// How the frames have come so far.
    Pace pace() const
    {
        std::lock_guard guard(paceLock_);
        return pace_;
    }
    /// Frames that the camera counted and nobody took; only a check sees them.
    std::optional<uint64_t> missed() const
    {
        return check_ ? std::optional(missed_) : std::nullopt;
    }
    std::exception_ptr failure() const { return failure_; }

    /// "30 frames of 640x480, 29.9 a second, 18.4 MB/s, jitter 0.4 ms".
    std::string summary() const
    {
        return counted(pace_.count(), "frame") + " of " + frameSizeText(width_, height_) +
               caption() + (check_ && check_->wrong() == 0 ? "; every frame is right" : "");
    }

    void finish() const
    {
        if (check_)
            check_->require(pace_.count());
    }
    std::vector<std::string> files() const
    {
        return sink_ ? sink_->files() : std::vector<std::string>();
    }

private:
    void takeFrames()
    {
        for (uint64_t taken = 0; taken < plan_.frames && !plan_.ended && !interrupted(); ++taken) {
            if (taken > 0)
                pauseFor(plan_.pause);
            const client::FrameView frame = live_.frame();
            {
                std::lock_guard guard(paceLock_);
                pace_.add(Pace::Clock::now(), taken + 1, frame.pixels.size_bytes());
            }
            width_ = frame.width;
            height_ = frame.height;
            if (check_)
                check_->check(taken, frame);
            if (sink_)
                sink_->put(taken, frame);
        }
        if (sink_)
            sink_->finish();
    }

    /// How fast frames come, behind the rest of a line.
    std::string caption() const
    {
        std::string text;
        for (const std::string &part : paceTexts({&pace_, 1}))
            text += ", " + part;
        return text;
    }

    /// The camera goes on counting while nobody looks, but never back.
    std::string faultOf(const client::FrameView &frame)
    {
        const uint64_t number = simulatedNumber(frame).value_or(0);
        const std::optional<uint64_t> before = std::exchange(number_, number);
        if (before && number <= *before)
            return "has the number " + std::to_string(number) + ", and the one before it had " +
                   std::to_string(*before);
        if (before)
            missed_ += number - *before - 1;
        return faultOfSimulatedFrame(number, port_ + 1u, frame);
    }

    const uint8_t port_;
    LivePlan &plan_;
    client::Connection service_;
    client::LiveView live_;
    std::unique_ptr<FrameSink> sink_;
    std::optional<FrameCheck> check_;
    std::optional<uint64_t> number_; ///< of the last frame, as it says itself
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    uint64_t missed_ = 0;
    Pace pace_; ///< written by the port's thread
    mutable std::mutex paceLock_;
    std::atomic<bool> running_ = true;
    std::exception_ptr failure_;
};

std::vector<Pace> pacesOf(const std::deque<LivePort> &ports)
{
    std::vector<Pace> paces;
    for (const LivePort &port : ports)
        paces.push_back(port.pace());
    return paces;
}

/// Runs all ports at once, and tells how far they are.
void runAll(std::deque<LivePort> &ports, const LivePlan &plan, bool endless)
{
    std::optional<Progress> progress;
    if (plan.format != FrameFormat::Terminal)
        progress.emplace();
    std::vector<std::jthread> threads;
    for (LivePort &port : ports)
        threads.emplace_back([&port] { port.run(); });
    const auto isRunning = [](const LivePort &port) { return port.isRunning(); };
    while (std::any_of(ports.begin(), ports.end(), isRunning)) {
        // Not pauseFor(), which no longer waits after an interrupt.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (!progress)
            continue;
        ProgressState state;
        state.label = "taking";
        state.count = 0;
        const std::vector<Pace> paces = pacesOf(ports);
        for (const Pace &pace : paces)
            *state.count += pace.count();
        if (!endless)
            state.total = plan.frames * ports.size();
        state.details = paceTexts(paces);
        progress->update(std::move(state));
    }
}

/// Raises what went wrong on a port; names the port where there are several.
void requireSuccess(Session &session, const LivePort &port, bool several)
{
    session.port = port.port();
    try {
        if (port.failure())
            std::rethrow_exception(port.failure());
        port.finish();
    } catch (const client::ServiceError &error) {
        if (!several)
            throw;
        const std::string advice = adviceFor(error.what(), session);
        throw Failure("port " + std::to_string(port.port()) + ": " + printable(error.what()) +
                      (advice.empty() ? "" : "\n") + advice);
    } catch (const std::runtime_error &error) {
        if (!several)
            throw;
        throw Failure("port " + std::to_string(port.port()) + ": " + error.what());
    }
}

void showResult(const LivePort &port, const LiveOptions &options, bool drawn)
{
    const std::vector<std::string> files = port.files();
    const std::string wrote =
        files.empty() || options.output == "-"
            ? ""
            : "wrote " + files.front() + (files.size() > 1 ? " ... " + files.back() : "");
    const bool alone = options.ports.size() == 1 && !options.check;
    if (alone && port.pace().count() == 1 && !wrote.empty())
        printLine(wrote);
    else if (options.output != "-" && !(alone && drawn))
        printLine("port " + std::to_string(port.port()) + ": " + port.summary() +
                  (wrote.empty() ? "" : "; ") + wrote);
}

/// A table of how the frames came; beside the frames where those go to standard output.
void showStats(const std::deque<LivePort> &ports, bool besides)
{
    const bool missed = ports.front().missed().has_value();
    std::vector<std::vector<std::string>> rows = {paceHeads()};
    rows[0].insert(rows[0].begin(), "PORT");
    if (missed)
        rows[0].push_back("MISSED");
    for (const LivePort &port : ports) {
        std::vector<std::string> &row = rows.emplace_back(paceCells(port.pace()));
        row.insert(row.begin(), std::to_string(port.port()));
        if (missed)
            row.push_back(std::to_string(*port.missed()));
    }
    if (besides)
        note(table(rows));
    else
        print(table(rows));
}

Json toJson(const LivePort &port)
{
    Json json = {{"port", port.port()}, {"files", port.files()}};
    addPace(json, port.pace());
    json["missed"] = port.missed() ? Json(*port.missed()) : Json();
    return json;
}

int showLive(Session &session, const LiveOptions &options)
{
    LivePlan plan;
    plan.format = formatOf(options, session.json);
    if (plan.format == FrameFormat::Npy)
        throw UsageError("an npy file says at its beginning how many frames it has: record, and "
                         "export the recording");
    checkOptions(options, plan.format, session.json);
    const bool several = options.ports.size() > 1;
    const bool drawing = plan.format == FrameFormat::Terminal;
    // A terminal shows what happens until one has seen enough; a file wants an end.
    const bool endless = !options.frames && options.output.empty() && isConsole(stdout);
    plan.frames = options.frames.value_or(endless ? ~uint64_t(0) : 1);
    plan.pause = options.rate ? static_cast<unsigned>(1000 / *options.rate) : drawing ? 100 : 0;

    std::deque<LivePort> ports;
    for (const uint32_t port : options.ports) {
        session.port = port;
        ports.emplace_back(session, options, plan, static_cast<uint8_t>(port));
    }
    catchInterrupts();
    runAll(ports, plan, endless);
    for (const LivePort &port : ports)
        requireSuccess(session, port, several);

    if (session.json) {
        Json list = Json::array();
        for (const LivePort &port : ports)
            list.push_back(toJson(port));
        printJson(list);
        return kSuccess;
    }
    for (const LivePort &port : ports)
        showResult(port, options, drawing);
    if (options.stats)
        showStats(ports, options.output == "-");
    return kSuccess;
}

} // namespace

void addLiveCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand("live", "Look at a port live, or at several at once");
    const auto options = std::make_shared<LiveOptions>();
    addDeviceOption(*command, session);
    command->add_option("-p,--port", options->ports, "Port to look at; give several as 0,1 [0]")
        ->type_name("N")
        ->delimiter(',')
        ->check(numberIn(0u, 255u));
    command
        ->add_option("-n,--frames", options->frames,
                     "How many frames to take of each port [1; in a terminal until Ctrl-C]")
        ->type_name("N")
        ->check(numberIn(uint64_t(1)));
    command
        ->add_option("-o,--output", options->output,
                     "File to write; %d in it stands for the number of a frame, %p for that of "
                     "the port; - is standard output. Without it the frames of a port are drawn "
                     "in the terminal; those of several, or without a terminal, are counted")
        ->type_name("PATH");
    command->add_option("--format", options->format, "png, pgm, raw, y4m, or terminal")
        ->check(CLI::IsMember({"png", "pgm", "raw", "y4m", "terminal"}));
    addLevelsOption(*command, options->levels);
    command->add_option("--rate", options->rate, "At most this many frames a second of each port")
        ->type_name("N")
        ->check(numberIn(0.01, 1000.0));
    command->add_flag("--check", options->check,
                      "Check all pixels of the frames of a simulated recorder");
    command->add_flag("--stats", options->stats,
                      "Print at the end how fast and how evenly the frames came");
    addJsonOption(*command, session);
    addExamples(*command, {"live", "live -o now.png", "live --frames 300 --stats",
                           "live --frames 10 -o live-%02d.pgm --rate 2",
                           "live --port 0,1 --frames 50 --check",
                           "live --port 0,1 -o port-%p.png --levels auto",
                           "live --frames 500 --format y4m -o - | ffplay -i -"});
    command->footer("On a recorder a port has one picture, and the last to start takes it over: "
                    "a program that\nwatched the port before gets no more frames.\n\n" +
                    command->get_footer());
    setAction(*command, session, [&session, options] { return showLive(session, *options); });
}

} // namespace tavu::ctl
