#pragma once

#include "encoding/bytes.h"
#include "encoding/mem_stream.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavu {

// Where MessageReader's bytes come from. Each call reads just what is due, in one read of the
// stream unless it may be long, and is false when that came short.

// Any stream.
class AnyStream
{
public:
    /// Text goes to \a text.
    AnyStream(Stream &stream, std::string &text) : stream_(&stream), text_(&text) {}

    bool lead(uint8_t &byte) { return body(&byte, 1); }
    bool number(unsigned width, uint64_t &number)
    {
        unsigned char bytes[8] = {};
        if (!body(bytes + sizeof bytes - width, width))
            return false;
        number = loadBigEndian(bytes);
        return true;
    }
    // Long text grows as its bytes arrive.
    bool text(uint32_t length)
    {
        constexpr uint32_t kPiece = 1u << 20;
        uint32_t done = 0;
        do {
            const uint32_t piece = std::min(length - done, kPiece);
            text_->resize(size_t(done) + piece);
            if (!body(text_->data() + done, piece))
                return false;
            done += piece;
        } while (done < length);
        return true;
    }
    bool body(void *buffer, uint32_t length) { return stream_->read(buffer, length) == length; }
    bool skip(uint32_t length)
    {
        unsigned char piece[4096];
        uint32_t done = 0;
        do {
            const uint32_t count = std::min<uint32_t>(length - done, sizeof piece);
            if (!body(piece, count))
                return false;
            done += count;
        } while (done < length);
        return true;
    }

    bool shortText(uint32_t, uint64_t) { return false; }
    std::string_view lastText() const { return *text_; }
    // Bytes that may be read from where the last text begins.
    uint64_t readable() const { return text_->size(); }
    void keepText(std::string &) {}

private:
    Stream *stream_;
    std::string *text_;
};

// The bytes of a MemStream, where they lie. The stream follows at the end.
class InPlace
{
public:
    explicit InPlace(MemStream &stream)
        : stream_(&stream), at_(stream.position()), end_(at_ + stream.remaining())
    {
    }
    InPlace(const InPlace &) = default;
    InPlace &operator=(const InPlace &) = default;
    ~InPlace()
    {
        // A copy may have got further before it raised.
        if (at_ > stream_->position())
            stream_->advance(static_cast<uint64_t>(at_ - stream_->position()));
    }

    bool lead(uint8_t &byte)
    {
        if (at_ == end_)
            MemStream::throwEnd();
        byte = *at_++;
        return true;
    }
    bool number(unsigned width, uint64_t &number)
    {
        if (left() >= sizeof number) {
            number = loadBigEndian(at_) >> (64 - 8 * width);
            at_ += width;
            return true;
        }
        unsigned char bytes[8] = {};
        if (!body(bytes + sizeof bytes - width, width))
            return false;
        number = loadBigEndian(bytes);
        return true;
    }
    bool text(uint32_t length)
    {
        const unsigned char *bytes = take(length);
        text_ = std::string_view(reinterpret_cast<const char *>(bytes), bytes ? length : 0);
        return bytes;
    }
    bool body(void *buffer, uint32_t length)
    {
        const unsigned char *bytes = take(length);
        if (bytes)
            copyBytes(buffer, bytes, length);
        return bytes;
    }
    bool skip(uint32_t length) { return take(length); }

    // Text of at most \a longest bytes with a head of one byte, when \a room bytes may be read from
    // where it begins; otherwise nothing happens.
    bool shortText(uint32_t longest, uint64_t room)
    {
        if (left() <= room)
            return false;
        const uint32_t length = at_[0] - 0xA0u;
        if (length > longest)
            return false;
        text_ = std::string_view(reinterpret_cast<const char *>(at_ + 1), length);
        at_ += 1 + length;
        return true;
    }

    std::string_view lastText() const { return text_; }
    uint64_t readable() const
    {
        return static_cast<uint64_t>(end_ - reinterpret_cast<const unsigned char *>(text_.data()));
    }
    // The text in place is good only until the caller goes on.
    void keepText(std::string &target)
    {
        if (text_.data())
            target = text_;
    }

private:
    uint64_t left() const { return static_cast<uint64_t>(end_ - at_); }
    // Null when fewer bytes are left, which are gone then as with a read that came short.
    const unsigned char *take(uint64_t byteCount)
    {
        const unsigned char *bytes = at_;
        if (byteCount < left()) [[likely]] {
            at_ += byteCount;
            return bytes;
        }
        if (at_ == end_)
            MemStream::throwEnd();
        at_ = end_;
        return byteCount == static_cast<uint64_t>(end_ - bytes) ? bytes : nullptr;
    }

    MemStream *stream_;
    const unsigned char *at_;
    const unsigned char *end_;
    std::string_view text_;
};

} // namespace tavu
