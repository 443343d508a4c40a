#include "client/tavuview/download.h"

#include "client/tavuview/zip.h"
#include "client/tools/picture.h"

#include <cstring>

namespace tavu::view {

namespace {

/// The frames of a request, one after another.
class Frames
{
public:
    Frames(Service &service, const WebRequest &request)
        : recording_(std::make_shared<OpenRecording>(service, recordingNameOf(request)))
    {
        const uint64_t count = recording_->get().info().numFrames;
        if (count == 0)
            throw BadRequest("The recording has no frames.");
        first_ = request.number("first", count - 1, 0);
        last_ = request.number("last", count - 1, count - 1);
        if (last_ < first_)
            throw BadRequest("The range of frames ends before it begins.");
        next_ = first_;
    }

    uint64_t first() const { return first_; }
    uint64_t count() const { return last_ - first_ + 1; }
    uint64_t next() const { return next_; }
    bool ended() const { return next_ > last_; }
    const client::OpenFileInfo &info() const { return recording_->get().info(); }
    client::FrameView take() { return recording_->get().frame(next_++); }

private:
    std::shared_ptr<OpenRecording> recording_;
    uint64_t first_ = 0;
    uint64_t last_ = 0;
    uint64_t next_ = 0;
};

class RawSource final : public BodySource
{
public:
    explicit RawSource(Frames frames) : frames_(std::move(frames)) {}

    Bytes next() override
    {
        if (frames_.ended())
            return {};
        const client::FrameView frame = frames_.take();
        const auto *const bytes = reinterpret_cast<const uint8_t *>(frame.pixels.data());
        return {bytes, bytes + frame.pixels.size_bytes()};
    }

private:
    Frames frames_;
};

class PictureSource final : public BodySource
{
public:
    explicit PictureSource(Frames frames)
        : frames_(std::move(frames)),
          digits_(std::to_string(frames_.first() + frames_.count() - 1).size())
    {
    }

    Bytes next() override
    {
        if (frames_.ended())
            return std::exchange(finished_, true) ? Bytes() : zip_.finish();
        std::string number = std::to_string(frames_.next());
        number.insert(0, digits_ - number.size(), '0');
        const Bytes picture = tools::encodePng(frames_.take());
        Bytes piece = zip_.begin("frame-" + number + ".png", picture);
        piece.insert(piece.end(), picture.begin(), picture.end());
        return piece;
    }

private:
    Frames frames_;
    const size_t digits_;
    ZipWriter zip_;
    bool finished_ = false;
};

/// "recording-3-frames-0-89.zip".
std::string fileName(const WebRequest &request, const Frames &frames, const char *ending)
{
    const RecordingName name = recordingNameOf(request);
    std::string text = "recording-" + std::to_string(name.fileId);
    if (name.streamId != 0)
        text += "-" + std::to_string(name.streamId);
    text += frames.count() == 1 ? "-frame-" : "-frames-";
    text += std::to_string(frames.first());
    if (frames.count() > 1)
        text += "-" + std::to_string(frames.first() + frames.count() - 1);
    return text + ending;
}

} // namespace

WebReply makeDownload(Service &service, const WebRequest &request)
{
    const auto found = request.query.find("format");
    const std::string format = found == request.query.end() ? "png" : found->second;
    if (format != "png" && format != "raw")
        throw BadRequest("\"format\" must be png or raw");
    Frames frames(service, request);
    WebReply reply;
    std::string name;
    if (format == "raw") {
        const client::OpenFileInfo &info = frames.info();
        name = fileName(request, frames, ".raw");
        reply.type = "application/octet-stream";
        reply.sourceSize = frames.count() * info.width * info.height * sizeof(uint16_t);
        reply.source = std::make_shared<RawSource>(std::move(frames));
    } else if (frames.count() > 1) {
        name = fileName(request, frames, ".zip");
        reply.type = "application/zip";
        reply.source = std::make_shared<PictureSource>(std::move(frames));
    } else {
        name = fileName(request, frames, ".png");
        reply.type = "image/png";
        const Bytes picture = tools::encodePng(frames.take());
        reply.body.assign(picture.begin(), picture.end());
    }
    reply.headers.emplace_back("Content-Disposition", "attachment; filename=\"" + name + "\"");
    return reply;
}

} // namespace tavu::view
