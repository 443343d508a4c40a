#include "client/playback.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/frame_check.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/progress.h"
#include "client/tools/file_text.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"

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
    double frameRate = 25;
    bool check = false;
    bool show = false;
    LevelsOf levels;
};

/// Plays frames one after another into \a take, with progress. An interrupt ends it as a failure.
void playFrames(client::Playback &playback, const FrameRanges &ranges, const std::string &label,
                bool quiet, const std::function<void(uint64_t, const client::FrameView &)> &take)
{
    catchInterrupts();
    std::optional<FrameProgress> progress;
    if (!quiet)
        progress.emplace(label, frameCountOf(ranges));
    uint64_t done = 0;
    for (const auto &[first, last] : ranges) {
        for (uint64_t number = first; number <= last; ++number) {
            if (interrupted())
                throw Failure("interrupted after " + counted(done, "frame"));
            const client::FrameView frame = playback.frame(number);
            take(number, frame);
            ++done;
            if (progress)
                progress->update(done, frame.pixels.size_bytes());
        }
    }
}

/// The check that fits the device: frames of a real recorder can't be foretold.
FrameCheck checkFor(Session &session, const client::FileEntry &file)
{
    client::Connection &service = session.service();
    if (service.hardwareType(session.device) == client::kEmulatedDevice)
        return FrameCheck(faultOfEmulatedFrame);
    uint32_t port = 0;
    const uint8_t count = service.portCount(session.device);
    for (uint8_t i = 0; i < count && port == 0; ++i) {
        if (service.portName(session.device, i) == file.port)
            port = i + 1u;
    }
    return FrameCheck([port](uint64_t number, const client::FrameView &frame) {
        return faultOfSimulatedFrame(number, port, frame);
    });
}

int play(Session &session, const PlayOptions &options)
{
    const client::FileEntry file = findFile(session, options.file);
    client::Playback playback(session.service(), session.device, file.fileId, file.streamId);
    const FrameRanges ranges = parseFrames(options.frames, playback.info().numFrames);
    std::optional<FrameCheck> check;
    if (options.check)
        check.emplace(checkFor(session, file));
    const std::unique_ptr<FrameSink> screen = options.show ? makeTerminalSink() : nullptr;

    const auto start = std::chrono::steady_clock::now();
    playFrames(playback, ranges, "playing", options.show && isConsole(stdout),
               [&](uint64_t number, const client::FrameView &frame) {
                   if (check)
                       check->check(number, frame);
                   if (screen)
                       screen->put(number, frame);
               });
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const uint64_t count = frameCountOf(ranges);
    if (session.json) {
        Json json = {{"fileId", file.fileId},
                     {"streamId", file.streamId},
                     {"frames", count},
                     {"seconds", seconds}};
        if (check) {
            json["wrongFrames"] = check->wrong();
            json["firstWrong"] = check->first();
        }
        printJson(json);
    } else {
        printLine("played " + counted(count, "frame") + " of file " + fileNumber(file) + " in " +
                  std::to_string(int(seconds * 1000)) + " ms" +
                  (check && check->wrong() == 0 ? "; every frame is the right one" : ""));
    }
    if (check)
        check->require(count);
    return kSuccess;
}

int exportFrames(Session &session, const PlayOptions &options)
{
    const FrameFormat format = chooseFormat(options.format, options.output);
    const client::FileEntry file = findFile(session, options.file);
    client::Playback playback(session.service(), session.device, file.fileId, file.streamId);
    const FrameRanges ranges = parseFrames(options.frames, playback.info().numFrames);
    const uint64_t count = frameCountOf(ranges);
    if (options.output == "-" && count > 1 && format == FrameFormat::Png)
        throw UsageError("several PNG pictures don't go to standard output one after another: use "
                         "another format, or one frame");
    std::optional<FrameCheck> check;
    if (options.check)
        check.emplace(checkFor(session, file));
    const std::unique_ptr<FrameSink> sink =
        makeFileSink({format, options.output, count, options.frameRate, options.levels});
    playFrames(playback, ranges, "exporting", false,
               [&](uint64_t number, const client::FrameView &frame) {
                   if (check)
                       check->check(number, frame);
                   sink->put(number, frame);
               });
    sink->finish();
    if (check)
        check->require(count);
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
    addFileArgument(*command, options->file);
    addDeviceOption(*command, session);
    command
        ->add_option("-f,--frames", options->frames,
                     "Which frames, from 0: \"0,10-19,80-,last\" [all]")
        ->type_name("RANGES");
    command->add_flag("--check", options->check,
                      "Check that each frame is the right one: the numbers in the frames of the "
                      "emulated device, all pixels of those of a simulated recorder");
    addJsonOption(*command, session);
    setAction(*command, session, [&session, options, action] { return action(session, *options); });
    return command;
}

} // namespace

void addPlaybackCommands(CLI::App &app, Session &session)
{
    auto options = std::make_shared<PlayOptions>();
    CLI::App *command =
        addPlayback(app, session, "play", "Play frames through shared memory", options, play);
    command->add_flag("--show", options->show, "Draw the frames in the terminal");
    addExamples(*command, {"play last --check", "play 3 --frames 10-19 --show"});

    options = std::make_shared<PlayOptions>();
    command = addPlayback(app, session, "export",
                          "Write frames as 16-bit pictures, as an "
                          "array or a video",
                          options, exportFrames);
    command
        ->add_option("-o,--output", options->output,
                     "File to write; %d or %06d in it stands for the number of a frame; - is "
                     "standard output")
        ->type_name("PATH")
        ->required();
    command
        ->add_option("--format", options->format,
                     "png or pgm: a picture a frame; all frames in one file, 16 bits a pixel: raw "
                     "(pixels alone, little-endian), npy (an array for NumPy), y4m (a grey video "
                     "for FFmpeg)")
        ->check(CLI::IsMember({"png", "pgm", "raw", "npy", "y4m"}));
    command
        ->add_option("--rate", options->frameRate,
                     "Frames a second that a y4m file tells players [25]")
        ->type_name("N")
        ->check(numberIn(0.01, 1e6));
    addLevelsOption(*command, options->levels);
    addExamples(*command,
                {"export last --frames first,last -o frame-%d.png",
                 "export 3 --frames 0-9 -o drop.pgm --levels auto", "export 3 -o everything.npy",
                 "export last --frames 5 --format pgm -o - | display",
                 "export last --format y4m --rate 30 -o - | ffmpeg -i - -c:v ffv1 last.mkv"});
}

} // namespace tavu::ctl
