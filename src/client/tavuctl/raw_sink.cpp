#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/output_file.h"

namespace tavu::ctl {

namespace {

class RawSink final : public FrameSink
{
public:
    explicit RawSink(const std::string &path) : path_(path), file_(path) {}

    void put(uint64_t, const client::FrameView &frame) override
    {
        // Frames are little-endian, and so is every machine with a recorder.
        file_.write(
            {reinterpret_cast<const uint8_t *>(frame.pixels.data()), frame.pixels.size_bytes()});
    }

    void finish() override { file_.finish(); }
    std::vector<std::string> files() const override { return {path_}; }

private:
    std::string path_;
    OutputFile file_;
};

} // namespace

std::unique_ptr<FrameSink> makeRawSink(const std::string &path)
{
    return std::make_unique<RawSink>(path);
}

} // namespace tavu::ctl
