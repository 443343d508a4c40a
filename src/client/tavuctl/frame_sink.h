#pragma once

#include "client/tavuctl/session.h"
#include "client/tools/picture.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavu::ctl {

/// Somewhere for frames to go.
class FrameSink
{
public:
    virtual ~FrameSink() = default;

    /// Takes frame \a number; the view need not live longer than the call.
    virtual void put(uint64_t number, const client::FrameView &frame) = 0;
    /// After the last frame.
    virtual void finish() {}
    /// The files that were made, for telling people.
    virtual std::vector<std::string> files() const { return {}; }
};

/// A picture of 16 bits a pixel, as the bytes of a file.
std::vector<uint8_t> encodePgm(const client::FrameView &frame);

/// Chooses the levels of a frame; empty leaves pixels as they are.
using LevelsOf = std::function<Levels(const client::FrameView &)>;

/// "auto", or two values such as "4096-8191". Raises UsageError.
LevelsOf parseLevels(std::string_view text);

enum class Shades
{
    Colours,    ///< half blocks in the greys of a terminal of 256 colours
    Characters, ///< of ASCII, from a blank to "@"
};

/// A picture that fits into columns by rows characters, the darkest pixel black and the brightest
/// white.
std::string drawFrame(const client::FrameView &frame, unsigned columns, unsigned rows,
                      Shades shades);

enum class FrameFormat
{
    Png,
    Pgm,
    Raw, ///< 16-bit little-endian pixels of all frames, back to back
    Npy, ///< NumPy's array of all frames: count, height, width
    Y4m, ///< a video without compression, 16-bit grey
    Terminal,
};

/// The format that a path asks for by its ending.
std::optional<FrameFormat> frameFormatOf(std::string_view path);
/// The format called \a name, such as "png"; without a name the one that \a path ends with. Raises
/// UsageError when there is none.
FrameFormat chooseFormat(std::string_view name, const std::string &path);

/// The path for one of many pictures: "%d", or "%06d" for leading zeros, stands for the number;
/// where \a path has neither, "-<number>" comes before the ending.
std::string picturePath(const std::string &path, uint64_t number);

/// The path for one of several ports: "%p" stands for the port.
std::string portPath(const std::string &path, uint32_t port);

/// How frames go into files.
struct FileSinkOptions
{
    FrameFormat format = FrameFormat::Raw;
    std::string path;        ///< "-" is standard output
    uint64_t frameCount = 1; ///< with more than one, each picture's path gets the frame's number
    double frameRate = 25;   ///< that a video tells its players, a second
    LevelsOf levels = {};    ///< for pictures
};

/// A sink that makes one picture a frame, or one file of all for the other formats. Raises Failure
/// when a file can't be made.
std::unique_ptr<FrameSink> makeFileSink(const FileSinkOptions &options);
std::unique_ptr<FrameSink> makeRawSink(const std::string &path);
/// Takes exactly \a frameCount frames of one size.
std::unique_ptr<FrameSink> makeNpySink(const std::string &path, uint64_t frameCount);
/// Takes frames of one size.
std::unique_ptr<FrameSink> makeY4mSink(const std::string &path, double frameRate);

/// What is put behind a caption at each frame.
using CaptionOf = std::function<std::string()>;
/// Draws on standard output, each frame over the last on a terminal that can do so.
std::unique_ptr<FrameSink> makeTerminalSink(CaptionOf captionOf = {});

} // namespace tavu::ctl
