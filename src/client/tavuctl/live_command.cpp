#include "client/playback.h"
#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_check.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/progress.h"
#include "client/tools/text.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <thread>

namespace tavu::ctl {

namespace {

struct LiveOptions
{
    std::vector<uint32_t> ports = {0};
    std::optional<uint64_t> frames;
    std::string output;
    std::string format;
    std::optional<double> rate;
    LevelsOf levels;
    bool check = false;
};

/// What all ports of one command share.
struct LivePlan
{
    std::optional<FrameFormat> format; ///< empty when frames are only counted
    uint64_t frames = 1;               ///< of each port
    unsigned pause = 0;                ///< milliseconds between frames
    std::atomic<bool> ended = false;   ///< set by a port that fails, to end the others
};

std::optional<FrameFormat> formatOf(const LiveOptions &options)
{
    if (!options.format.empty() || !options.output.empty())
        return chooseFormat(options.format, options.output);
    return options.ports.size() == 1 ? std::optional(FrameFormat::Terminal) : std::nullopt;
}

/// Refuses options that contradict each other, before anything is started.
void checkOptions(const LiveOptions &options, std::optional<FrameFormat> format)
{
    const bool several = options.ports.size() > 1;
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
    using Clock = std::chrono::steady_clock;

    LivePort(const Session &session, const LiveOptions &options, LivePlan &plan, uint8_t port)
        : port_(port), plan_(plan), live_(service_, session.device, port)
    {
        if (options.check && service_.hardwareType(session.device) == client::kEmulatedDevice)
            throw Failure("the live frames of the emulated device have no number to check");
        if (plan.format == FrameFormat::Terminal)
            sink_ = makeTerminalSink();
        else if (plan.format)
            sink_ = makeFileSink(*plan.format, portPath(options.output, port), plan.frames > 1,
                                 options.levels);
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
    uint64_t taken() const { return taken_; }
    std::exception_ptr failure() const { return failure_; }

    /// "30 frames of 640x480, 29.9 a second".
    std::string summary() const
    {
        std::string text = counted(taken_, "frame") + " of " + frameSizeText(width_, height_);
        const double seconds = std::chrono::duration<double>(last_ - first_).count();
        if (taken_ > 1 && seconds > 0)
            text += ", " + rateText(taken_ - 1, seconds);
        return text + (check_ && check_->wrong() == 0 ? "; every frame is right" : "");
    }

    void finish() const
    {
        if (check_)
            check_->require(taken_);
    }
    std::vector<std::string> files() const
    {
        return sink_ ? sink_->files() : std::vector<std::string>();
    }

private:
    void takeFrames()
    {
        while (taken_ < plan_.frames && !plan_.ended && !interrupted()) {
            if (taken_ > 0)
                pauseFor(plan_.pause);
            const client::FrameView frame = live_.frame();
            last_ = Clock::now();
            if (taken_ == 0)
                first_ = last_;
            width_ = frame.width;
            height_ = frame.height;
            if (check_)
                check_->check(taken_, frame);
            if (sink_)
                sink_->put(taken_, frame);
            ++taken_;
        }
        if (sink_)
            sink_->finish();
    }

    /// The camera goes on counting while nobody looks, but never back.
    std::string faultOf(const client::FrameView &frame)
    {
        const uint64_t number = simulatedNumber(frame).value_or(0);
        const std::optional<uint64_t> before = std::exchange(number_, number);
        if (before && number <= *before)
            return "has the number " + std::to_string(number) + ", and the one before it had " +
                   std::to_string(*before);
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
    Clock::time_point first_;
    Clock::time_point last_;
    std::atomic<uint64_t> taken_ = 0;
    std::atomic<bool> running_ = true;
    std::exception_ptr failure_;
};

/// Runs all ports at once, and tells how far they are.
void runAll(std::deque<LivePort> &ports, const LivePlan &plan, bool endless)
{
    std::optional<Progress> progress;
    if (plan.format != FrameFormat::Terminal)
        progress.emplace("taking",
                         endless ? std::nullopt : std::optional(plan.frames * ports.size()));
    std::vector<std::jthread> threads;
    for (LivePort &port : ports)
        threads.emplace_back([&port] { port.run(); });
    const auto isRunning = [](const LivePort &port) { return port.isRunning(); };
    while (std::any_of(ports.begin(), ports.end(), isRunning)) {
        // Not pauseFor(), which no longer waits after an interrupt.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        uint64_t taken = 0;
        for (const LivePort &port : ports)
            taken += port.taken();
        if (progress)
            progress->update(taken);
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

int showLive(Session &session, const LiveOptions &options)
{
    LivePlan plan;
    plan.format = formatOf(options);
    checkOptions(options, plan.format);
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

    for (const LivePort &port : ports) {
        const std::vector<std::string> files = port.files();
        const std::string wrote =
            files.empty() || options.output == "-"
                ? ""
                : "wrote " + files.front() + (files.size() > 1 ? " ... " + files.back() : "");
        if (several || options.check || (port.taken() > 1 && !wrote.empty()))
            printLine("port " + std::to_string(port.port()) + ": " + port.summary() +
                      (wrote.empty() ? "" : "; ") + wrote);
        else if (!wrote.empty())
            printLine(wrote);
    }
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
        ->check(numberIn(uint64_t(1), ~uint64_t(0)));
    command
        ->add_option("-o,--output", options->output,
                     "File to write; %d in it stands for the number of a frame, %p for that of "
                     "the port; - is standard output. Without it the frames of a port are drawn "
                     "in the terminal, those of several counted")
        ->type_name("PATH");
    command->add_option("--format", options->format, "png, pgm, raw, or terminal")
        ->check(CLI::IsMember({"png", "pgm", "raw", "terminal"}));
    addLevelsOption(*command, options->levels);
    command->add_option("--rate", options->rate, "At most this many frames a second of each port")
        ->type_name("N")
        ->check(numberIn(0.01, 1000.0));
    command->add_flag("--check", options->check,
                      "Check all pixels of the frames of a simulated recorder");
    addExamples(*command, {"live", "live -o now.png", "live --frames 10 -o live-%02d.pgm --rate 2",
                           "live --port 0,1 --frames 50 --check",
                           "live --port 0,1 -o port-%p.png --levels auto"});
    setAction(*command, session, [&session, options] { return showLive(session, *options); });
}

} // namespace tavu::ctl
