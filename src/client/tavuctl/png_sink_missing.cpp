#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/session.h"

namespace tavu::ctl {

std::vector<uint8_t> encodePng(const client::FrameView &)
{
    throw Failure("this tavuctl was built without PNG: use --format pgm");
}

} // namespace tavu::ctl
