#include "client/tavuctl/one_size_file.h"

#include <cmath>

namespace tavu::ctl {

namespace {

// YUV4MPEG2, with the colour space "mono16" that FFmpeg has added: little-endian grey.
class Y4mSink final : public OneSizeFile
{
public:
    Y4mSink(const std::string &path, double frameRate) : OneSizeFile(path), frameRate_(frameRate) {}

private:
    std::string fileHead(uint32_t width, uint32_t height) const override
    {
        const bool isWhole = frameRate_ == std::floor(frameRate_);
        const int denominator = isWhole ? 1 : 1000;
        const auto numerator = std::llround(frameRate_ * denominator);
        return "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
               std::to_string(numerator) + ":" + std::to_string(denominator) + " Ip A1:1 Cmono16\n";
    }
    std::string frameHead() const override { return "FRAME\n"; }

    double frameRate_;
};

} // namespace

std::unique_ptr<FrameSink> makeY4mSink(const std::string &path, double frameRate)
{
    return std::make_unique<Y4mSink>(path, frameRate);
}

} // namespace tavu::ctl
