#include "client/tavuctl/frame_sink.h"

#include "client/tavuctl/session.h"

#include <csetjmp>
#include <png.h>

namespace tavu::ctl {

namespace {

void appendBytes(png_structp png, png_bytep bytes, size_t count)
{
    auto &target = *static_cast<std::vector<uint8_t> *>(png_get_io_ptr(png));
    target.insert(target.end(), bytes, bytes + count);
}

void nothingToFlush(png_structp) {}

/// False when the library gives up. It does so by a jump to here, so no object with a destructor
/// may live in this function.
bool writePicture(png_structp png, png_infop info, const client::FrameView &frame,
                  std::vector<uint8_t> *target, std::vector<uint8_t> *row)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_write_fn(png, target, appendBytes, nothingToFlush);
    png_set_IHDR(png, info, frame.width, frame.height, 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_compression_level(png, 3);
    png_write_info(png, info);
    for (uint32_t y = 0; y < frame.height; ++y) {
        uint8_t *out = row->data();
        for (const uint16_t pixel : frame.row(y)) {
            *out++ = static_cast<uint8_t>(pixel >> 8);
            *out++ = static_cast<uint8_t>(pixel & 0xFF);
        }
        png_write_row(png, row->data());
    }
    png_write_end(png, info);
    return true;
}

} // namespace

std::vector<uint8_t> encodePng(const client::FrameView &frame)
{
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> row(size_t(frame.width) * 2);
    bytes.reserve(frame.pixels.size_bytes() / 2);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool done = info && writePicture(png, info, frame, &bytes, &row);
    png_destroy_write_struct(&png, &info);
    if (!done)
        throw Failure("the frame can't be made a PNG picture");
    return bytes;
}

} // namespace tavu::ctl
