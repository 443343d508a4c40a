#include "client/tools/picture.h"

#include "client/tools/failure.h"
#include "encoding/bytes.h"

#include <initializer_list>
#include <span>
#include <string_view>
#include <zlib.h>

namespace tavu::tools {

namespace {

// As PNG is published (by the W3C): numbers are big-endian, a chunk is the length of its body, a
// type of four letters, the body and the CRC of both.

constexpr uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr uint8_t kFilterSub = 1; ///< a row holds the differences to the pixel before
constexpr int kLevel = 3;         ///< higher ones take much longer and save little on such rows
constexpr size_t kPieceBytes = 1 << 16;

using Bytes = std::vector<uint8_t>;

void append(Bytes &target, std::span<const uint8_t> bytes)
{
    target.insert(target.end(), bytes.begin(), bytes.end());
}

void appendNumber(Bytes &target, uint32_t number)
{
    uint8_t bytes[sizeof number];
    storeBigEndian(bytes, number);
    append(target, bytes);
}

void appendChunk(Bytes &target, std::string_view type, std::span<const uint8_t> body)
{
    appendNumber(target, static_cast<uint32_t>(body.size()));
    const size_t begin = target.size();
    target.insert(target.end(), type.begin(), type.end());
    append(target, body);
    appendNumber(target,
                 static_cast<uint32_t>(::crc32_z(0, &target[begin], target.size() - begin)));
}

Bytes imageHeader(const client::FrameView &frame)
{
    Bytes header;
    appendNumber(header, frame.width);
    appendNumber(header, frame.height);
    // 16 bits, grey, and the only kinds of compression and filters; rows from top to bottom
    append(header, std::initializer_list<uint8_t>{16, 0, 0, 0, 0});
    return header;
}

/// A row's bytes behind its filter: each less the byte of the same rank of the pixel before.
void filterRow(std::span<const uint16_t> pixels, Bytes &row)
{
    row.clear();
    row.push_back(kFilterSub);
    uint16_t before = 0;
    for (const uint16_t pixel : pixels) {
        row.push_back(static_cast<uint8_t>((pixel >> 8) - (before >> 8)));
        row.push_back(static_cast<uint8_t>(pixel - before));
        before = pixel;
    }
}

/// Compresses rows into chunks of image data.
class ImageData
{
public:
    explicit ImageData(Bytes &target) : target_(target), piece_(kPieceBytes)
    {
        // Memory is all that can be missing.
        if (::deflateInit2(&stream_, kLevel, Z_DEFLATED, MAX_WBITS, 8, Z_FILTERED) != Z_OK)
            throw Failure("the frame can't be made a PNG picture");
        makeRoom();
    }
    ImageData(const ImageData &) = delete;
    ImageData &operator=(const ImageData &) = delete;
    ~ImageData() { ::deflateEnd(&stream_); }

    void add(Bytes &row) { feed(row, Z_NO_FLUSH); }
    void finish()
    {
        Bytes nothing;
        feed(nothing, Z_FINISH);
        flush();
    }

private:
    void makeRoom()
    {
        stream_.next_out = piece_.data();
        stream_.avail_out = static_cast<uInt>(piece_.size());
    }
    void flush()
    {
        const std::span whole(piece_);
        if (stream_.avail_out < whole.size())
            appendChunk(target_, "IDAT", whole.first(whole.size() - stream_.avail_out));
        makeRoom();
    }
    void feed(Bytes &bytes, int mode)
    {
        stream_.next_in = bytes.data();
        stream_.avail_in = static_cast<uInt>(bytes.size());
        // It goes on as long as it fills the room that it has.
        while (::deflate(&stream_, mode) == Z_OK && stream_.avail_out == 0)
            flush();
    }

    Bytes &target_;
    Bytes piece_;
    z_stream stream_{};
};

} // namespace

std::vector<uint8_t> encodePng(const client::FrameView &frame)
{
    Bytes bytes;
    bytes.reserve(frame.pixels.size_bytes() / 2);
    append(bytes, kSignature);
    appendChunk(bytes, "IHDR", imageHeader(frame));
    ImageData data(bytes);
    Bytes row;
    row.reserve(1 + size_t(frame.width) * 2);
    for (uint32_t y = 0; y < frame.height; ++y) {
        filterRow(frame.row(y), row);
        data.add(row);
    }
    data.finish();
    appendChunk(bytes, "IEND", {});
    return bytes;
}

} // namespace tavu::tools
