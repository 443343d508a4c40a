#include "client/playback.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/progress.h"
#include "client/tavuctl/text.h"

namespace tavu::ctl {

namespace {

struct LiveOptions
{
    std::optional<uint64_t> frames;
    std::string output;
    std::string format;
    std::optional<double> rate;
};

FrameFormat formatOf(const LiveOptions &options)
{
    if (!options.format.empty())
        return *frameFormatNamed(options.format);
    if (options.output.empty())
        return FrameFormat::Terminal;
    const std::optional<FrameFormat> format = frameFormatOf(options.output);
    if (!format)
        throw UsageError("\"" + printable(options.output) +
                         "\" doesn't tell the format: end it with .png, .pgm or .raw, or give "
                         "--format");
    return *format;
}

std::unique_ptr<FrameSink> sinkFor(const LiveOptions &options, FrameFormat format, uint64_t frames)
{
    if (format == FrameFormat::Terminal)
        return makeTerminalSink();
    if (options.output.empty())
        throw UsageError("say with -o where the frames go");
    return makeFileSink(format, options.output, frames > 1);
}

int showLive(Session &session, const LiveOptions &options)
{
    const FrameFormat format = formatOf(options);
    const bool drawing = format == FrameFormat::Terminal;
    // A terminal shows what happens until one has seen enough; a file wants an end.
    const bool endless = drawing && !options.frames && isConsole(stdout);
    const uint64_t frames = options.frames.value_or(endless ? ~uint64_t(0) : 1);
    const unsigned pause = options.rate ? static_cast<unsigned>(1000 / *options.rate)
                           : drawing    ? 100
                                        : 0;

    client::LiveView live(session.service(), session.device, session.portNumber());
    const std::unique_ptr<FrameSink> sink = sinkFor(options, format, frames);
    std::optional<Progress> progress;
    if (!drawing)
        progress.emplace("taking", "frame", frames);
    catchInterrupts();
    for (uint64_t number = 0; number < frames && !interrupted(); ++number) {
        if (number > 0)
            pauseFor(pause);
        sink->put(number, live.frame());
        if (progress)
            progress->update(number + 1);
    }
    sink->finish();
    progress.reset();
    const std::vector<std::string> files = sink->files();
    if (!files.empty() && options.output != "-")
        printLine("wrote " + files.front() +
                  (files.size() > 1 ? " ... " + files.back() : std::string()));
    return kSuccess;
}

} // namespace

void addLiveCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand("live", "Look at a port live");
    const auto options = std::make_shared<LiveOptions>();
    addDeviceOption(*command, session);
    addPortOption(*command, session);
    command
        ->add_option("-n,--frames", options->frames,
                     "How many frames to take [1; in a terminal until Ctrl-C]")
        ->type_name("N")
        ->check(numberIn(uint64_t(1), ~uint64_t(0)));
    command
        ->add_option("-o,--output", options->output,
                     "File to write; %d in it stands for the number of a frame; - is standard "
                     "output. Without it the frames are drawn in the terminal")
        ->type_name("PATH");
    command->add_option("--format", options->format, "png, pgm, raw, or terminal")
        ->check(CLI::IsMember({"png", "pgm", "raw", "terminal"}));
    command->add_option("--rate", options->rate, "At most this many frames a second")
        ->type_name("N")
        ->check(numberIn(0.01, 1000.0));
    addExamples(*command,
                {"live", "live -o now.png", "live --frames 10 -o live-%02d.pgm --rate 2"});
    command->callback([&session, options] {
        session.action = [&session, options] { return showLive(session, *options); };
    });
}

} // namespace tavu::ctl
