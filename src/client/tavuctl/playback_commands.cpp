#include "client/playback.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/json_values.h"
#include "client/tavuctl/progress.h"
#include "client/tavuctl/text.h"

#include <algorithm>
#include <chrono>

namespace tavu::ctl {

namespace {

struct PlayOptions
{
    std::string file;
    std::string frames = "all";
    std::string output;
    std::string format;
    bool check = false;
    bool show = false;
};

/// Plays frames one after another into \a take, with progress. An interrupt ends it as a failure.
void playFrames(client::Playback &playback, const FrameRanges &ranges, const std::string &label,
                bool quiet, const std::function<void(uint64_t, const client::FrameView &)> &take)
{
    catchInterrupts();
    std::optional<Progress> progress;
    if (!quiet)
        progress.emplace(label, "frame", frameCountOf(ranges));
    uint64_t done = 0;
    for (const auto &[first, last] : ranges) {
        for (uint64_t number = first; number <= last; ++number) {
            if (interrupted())
                throw Failure("interrupted after " + counted(done, "frame"));
            take(number, playback.frame(number));
            ++done;
            if (progress)
                progress->update(done);
        }
    }
}

/// Compares the numbers that stand in the headers of frames with where the frames stand.
class NumberCheck
{
public:
    explicit NumberCheck(uint32_t width)
    {
        // The header has at most the first row, and the number ends 24 bytes into it.
        if (width * sizeof(uint16_t) < kNumberOffset + sizeof(uint32_t))
            throw Failure("frames of this width have no number in their header: it takes at least "
                          "12 pixels");
    }

    void check(uint64_t expected, const client::FrameView &frame)
    {
        constexpr size_t kPixel = kNumberOffset / sizeof(uint16_t);
        const uint32_t found = frame.pixels[kPixel] | uint32_t(frame.pixels[kPixel + 1]) << 16;
        if (found == static_cast<uint32_t>(expected))
            return;
        if (wrong_++ == 0)
            first_ =
                "frame " + std::to_string(expected) + " has the number " + std::to_string(found);
    }

    uint64_t wrong() const { return wrong_; }
    /// The first wrong frame, in words.
    const std::string &first() const { return first_; }

private:
    static constexpr size_t kNumberOffset = 20;

    uint64_t wrong_ = 0;
    std::string first_;
};

int play(Session &session, const PlayOptions &options)
{
    const client::FileEntry file = findFile(session, options.file);
    client::Playback playback(session.service(), session.device, file.fileId, file.streamId);
    const FrameRanges ranges = parseFrames(options.frames, playback.info().numFrames);
    std::optional<NumberCheck> numbers;
    if (options.check)
        numbers.emplace(playback.info().width);
    const std::unique_ptr<FrameSink> screen = options.show ? makeTerminalSink() : nullptr;

    const auto start = std::chrono::steady_clock::now();
    playFrames(playback, ranges, "playing", options.show && isConsole(stdout),
               [&](uint64_t number, const client::FrameView &frame) {
                   if (numbers)
                       numbers->check(number, frame);
                   if (screen)
                       screen->put(number, frame);
               });
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const uint64_t count = frameCountOf(ranges);
    const uint64_t wrong = numbers ? numbers->wrong() : 0;
    if (session.json) {
        Json json = {{"fileId", file.fileId},
                     {"streamId", file.streamId},
                     {"frames", count},
                     {"seconds", seconds}};
        if (numbers) {
            json["wrongFrames"] = wrong;
            json["firstWrong"] = numbers->first();
        }
        printJson(json);
    } else {
        printLine("played " + counted(count, "frame") + " of file " + std::to_string(file.fileId) +
                  " in " + std::to_string(int(seconds * 1000)) + " ms" +
                  (numbers && wrong == 0 ? "; every frame has its number" : ""));
    }
    if (wrong == 0)
        return kSuccess;
    throw Failure(counted(wrong, "frame") + " of " + std::to_string(count) +
                  " with a wrong number: " + numbers->first());
}

FrameFormat formatOf(const PlayOptions &options)
{
    const std::optional<FrameFormat> format =
        options.format.empty() ? frameFormatOf(options.output) : frameFormatNamed(options.format);
    if (!format)
        throw UsageError("\"" + printable(options.output) +
                         "\" doesn't tell the format: end it with .png, .pgm or .raw, or give "
                         "--format");
    return *format;
}

int exportFrames(Session &session, const PlayOptions &options)
{
    const FrameFormat format = formatOf(options);
    const client::FileEntry file = findFile(session, options.file);
    client::Playback playback(session.service(), session.device, file.fileId, file.streamId);
    const FrameRanges ranges = parseFrames(options.frames, playback.info().numFrames);
    const uint64_t count = frameCountOf(ranges);
    if (options.output == "-" && count > 1 && format == FrameFormat::Png)
        throw UsageError("several PNG pictures don't go to standard output one after another: use "
                         "pgm or raw, or one frame");
    const std::unique_ptr<FrameSink> sink = makeFileSink(format, options.output, count > 1);
    playFrames(
        playback, ranges, "exporting", false,
        [&sink](uint64_t number, const client::FrameView &frame) { sink->put(number, frame); });
    sink->finish();
    if (options.output == "-")
        return kSuccess;
    const std::vector<std::string> files = sink->files();
    if (session.json)
        printJson(files);
    else if (files.size() <= 2)
        printLine("wrote " + counted(count, "frame") + " to " + files.front() +
                  (files.size() == 2 ? " and " + files.back() : ""));
    else
        printLine("wrote " + counted(count, "frame") + " to " + files.front() + " ... " +
                  files.back());
    return kSuccess;
}

CLI::App *addPlayback(CLI::App &app, Session &session, const std::string &name,
                      const std::string &help, const std::shared_ptr<PlayOptions> &options,
                      int (*action)(Session &, const PlayOptions &))
{
    CLI::App *command = app.add_subcommand(name, help);
    command
        ->add_option("FILE", options->file,
                     "Number of a recording as in `files`, its name, or \"last\" for the latest")
        ->required();
    addDeviceOption(*command, session);
    command
        ->add_option("-f,--frames", options->frames,
                     "Which frames, from 0: \"0,10-19,80-,last\" [all]")
        ->type_name("RANGES");
    addJsonOption(*command, session);
    command->callback([&session, options, action] {
        session.action = [&session, options, action] { return action(session, *options); };
    });
    return command;
}

} // namespace

void addPlaybackCommands(CLI::App &app, Session &session)
{
    auto options = std::make_shared<PlayOptions>();
    CLI::App *command =
        addPlayback(app, session, "play", "Play frames through shared memory", options, play);
    command->add_flag("--check", options->check,
                      "Check the frame numbers in the headers of the emulated device's frames");
    command->add_flag("--show", options->show, "Draw the frames in the terminal");
    addExamples(*command, {"play last --check", "play 3 --frames 10-19 --show"});

    options = std::make_shared<PlayOptions>();
    command = addPlayback(app, session, "export", "Write frames as 16-bit pictures or raw pixels",
                          options, exportFrames);
    command
        ->add_option("-o,--output", options->output,
                     "File to write; %d or %06d in it stands for the number of a frame; - is "
                     "standard output")
        ->type_name("PATH")
        ->required();
    command
        ->add_option("--format", options->format,
                     "png or pgm: a picture a frame; raw: all frames in one file, 16-bit "
                     "little-endian")
        ->check(CLI::IsMember({"png", "pgm", "raw"}));
    addExamples(*command, {"export last --frames first,last -o frame-%d.png",
                           "export 3 --frames 0-9 -o drop.pgm", "export 3 -o everything.raw",
                           "export last --frames 5 --format pgm -o - | display"});
}

} // namespace tavu::ctl
