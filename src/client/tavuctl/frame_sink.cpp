#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/output_file.h"
#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace tavu::ctl {

namespace {

struct FormatName
{
    std::string_view name;
    FrameFormat format;
};

constexpr std::array<FormatName, 6> kFormats = {{{"png", FrameFormat::Png},
                                                 {"pgm", FrameFormat::Pgm},
                                                 {"raw", FrameFormat::Raw},
                                                 {"npy", FrameFormat::Npy},
                                                 {"y4m", FrameFormat::Y4m},
                                                 {"terminal", FrameFormat::Terminal}}};

using Encoder = std::vector<uint8_t> (*)(const client::FrameView &);

/// One picture a frame.
class PictureSink final : public FrameSink
{
public:
    PictureSink(Encoder encode, std::string path, bool severalFrames, LevelsOf levels)
        : encode_(encode), path_(std::move(path)), severalFrames_(severalFrames),
          levels_(std::move(levels))
    {
    }

    void put(uint64_t number, const client::FrameView &frame) override
    {
        const bool numbered = severalFrames_ && path_ != "-";
        const std::string path = numbered ? picturePath(path_, number) : path_;
        OutputFile file(path);
        if (levels_)
            file.write(encode_({frame.width, frame.height, spread(frame, levels_(frame))}));
        else
            file.write(encode_(frame));
        file.finish();
        files_.push_back(path);
    }

    std::vector<std::string> files() const override { return files_; }

private:
    Encoder encode_;
    std::string path_;
    bool severalFrames_;
    LevelsOf levels_;
    std::vector<std::string> files_;
};

/// Where the ending of a path begins; its size when it has none.
size_t endingOf(std::string_view path)
{
    const size_t dot = path.rfind('.');
    const size_t slash = path.find_last_of("/\\");
    const bool inName = dot != std::string_view::npos && dot != 0 &&
                        (slash == std::string_view::npos || dot > slash + 1);
    return inName ? dot : path.size();
}

/// A "%d" or "%06d" in a path.
struct Placeholder
{
    size_t begin = std::string::npos;
    size_t end = 0;
    size_t width = 0;
};

Placeholder findPlaceholder(const std::string &path)
{
    for (size_t at = path.find('%'); at != std::string::npos; at = path.find('%', at + 1)) {
        size_t end = at + 1;
        size_t width = 0;
        while (end < path.size() && std::isdigit(static_cast<unsigned char>(path[end])) &&
               width < 10)
            width = width * 10 + static_cast<size_t>(path[end++] - '0');
        if (end < path.size() && path[end] == 'd' && width <= 20)
            return {at, end + 1, width};
    }
    return {};
}

std::optional<FrameFormat> frameFormatNamed(std::string_view name)
{
    const auto found = std::find_if(kFormats.begin(), kFormats.end(),
                                    [name](const FormatName &f) { return f.name == name; });
    return found == kFormats.end() ? std::nullopt : std::optional(found->format);
}

} // namespace

std::optional<FrameFormat> frameFormatOf(std::string_view path)
{
    std::string ending(path.substr(endingOf(path)));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending.empty() || ending == ".terminal" ? std::nullopt
                                                   : frameFormatNamed(ending.substr(1));
}

FrameFormat chooseFormat(std::string_view name, const std::string &path)
{
    const auto format = name.empty() ? frameFormatOf(path) : frameFormatNamed(name);
    if (!format)
        throw UsageError(inQuotes(path) +
                         " doesn't tell the format: end it with .png, .pgm, .raw, .npy "
                         "or .y4m, or give --format");
    return *format;
}

std::string picturePath(const std::string &path, uint64_t number)
{
    std::string digits = std::to_string(number);
    const Placeholder place = findPlaceholder(path);
    if (place.begin == std::string::npos) {
        std::string result = path;
        return result.insert(endingOf(path), "-" + digits);
    }
    if (digits.size() < place.width)
        digits.insert(0, place.width - digits.size(), '0');
    return path.substr(0, place.begin) + digits + path.substr(place.end);
}

std::string portPath(const std::string &path, uint32_t port)
{
    std::string result = path;
    const std::string digits = std::to_string(port);
    for (size_t at = result.find("%p"); at != std::string::npos; at = result.find("%p", at))
        result.replace(at, 2, digits);
    return result;
}

LevelsOf parseLevels(std::string_view text)
{
    if (text == "auto")
        return levelsOf;
    const size_t dash = text.find('-');
    const auto black = parseNumber<uint16_t>(text.substr(0, dash));
    const auto white = dash == std::string_view::npos
                           ? std::nullopt
                           : parseNumber<uint16_t>(text.substr(dash + 1));
    if (!black || !white || *black >= *white)
        throw UsageError(inQuotes(text) +
                         " are no levels: give the values of black and white like 4096-8191, or "
                         "auto");
    return [levels = Levels{*black, *white}](const client::FrameView &) { return levels; };
}

std::unique_ptr<FrameSink> makeFileSink(const FileSinkOptions &options)
{
    const bool pictures = options.format == FrameFormat::Png || options.format == FrameFormat::Pgm;
    if (options.levels && !pictures)
        throw UsageError("--levels is for pictures: png or pgm");
    if (options.format == FrameFormat::Raw)
        return makeRawSink(options.path);
    if (options.format == FrameFormat::Npy)
        return makeNpySink(options.path, options.frameCount);
    if (options.format == FrameFormat::Y4m)
        return makeY4mSink(options.path, options.frameRate);
    const Encoder encode = options.format == FrameFormat::Png ? encodePng : encodePgm;
    const bool hasPlaceholder = findPlaceholder(options.path).begin != std::string::npos;
    return std::make_unique<PictureSink>(encode, options.path,
                                         options.frameCount > 1 || hasPlaceholder, options.levels);
}

} // namespace tavu::ctl
