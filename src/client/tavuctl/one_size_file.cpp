#include "client/tavuctl/one_size_file.h"

#include "client/tavuctl/session.h"
#include "client/tools/text.h"

namespace tavu::ctl {

void OneSizeFile::put(uint64_t number, const client::FrameView &frame)
{
    const std::pair size(frame.width, frame.height);
    if (!size_)
        write(fileHead(frame.width, frame.height));
    else if (size != *size_)
        throw Failure("frame " + std::to_string(number) + " is of " +
                      frameSizeText(frame.width, frame.height) + ", and those before it of " +
                      frameSizeText(size_->first, size_->second) + ": " + path_ +
                      " holds frames of one size");
    size_ = size;
    write(frameHead());
    // Frames are little-endian, and so is every machine with a recorder.
    file_.write(
        {reinterpret_cast<const uint8_t *>(frame.pixels.data()), frame.pixels.size_bytes()});
}

void OneSizeFile::write(const std::string &text)
{
    file_.write({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
}

} // namespace tavu::ctl
