#pragma once

#include "encoding/bytes.h"
#include "encoding/windowed_stream.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavu {

/// Where MessageReader's bytes come from: the stream's window as far as it goes, and beyond it the
/// stream itself, which is asked for just what is due. Each call is false when that came short.
///
/// It keeps its place in the window to itself and tells the stream when it reads of it, and at its
/// own end. So there may be copies, but only one of them goes on.
class MessageSource
{
public:
    /// Text that doesn't lie in the window goes to \a text.
    MessageSource(Stream &stream, Window &window, std::string &text)
        : at_(window.at), stream_(&stream), end_(window.end), window_(&window), apart_(&text)
    {
    }
    MessageSource(const MessageSource &) = default;
    MessageSource &operator=(const MessageSource &) = default;
    ~MessageSource()
    {
        // A copy may have got further before it raised.
        if (at_ > window_->at)
            window_->at = at_;
    }

    bool lead(uint8_t &byte)
    {
        if (at_ == end_) [[unlikely]]
            return body(&byte, 1);
        byte = *at_++;
        return true;
    }
    /// A number of \a width bytes.
    bool number(unsigned width, uint64_t &number)
    {
        if (left() >= sizeof number) [[likely]] {
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
    bool body(void *buffer, uint32_t length)
    {
        if (length < left()) [[likely]] {
            copyBytes(buffer, at_, length);
            at_ += length;
            return true;
        }
        leaveWindow();
        return enterWindow(stream_->read(buffer, length) == length);
    }
    bool text(uint32_t length)
    {
        if (length < left()) [[likely]] {
            text_ = std::string_view(reinterpret_cast<const char *>(at_), length);
            textEnd_ = end_;
            at_ += length;
            return true;
        }
        leaveWindow();
        const bool isWhole = enterWindow(readText(*stream_, *window_, *apart_, length));
        text_ = *apart_;
        textEnd_ = reinterpret_cast<const unsigned char *>(text_.data() + text_.size());
        return isWhole;
    }
    bool skip(uint32_t length)
    {
        if (length < left()) [[likely]] {
            at_ += length;
            return true;
        }
        leaveWindow();
        return enterWindow(skipBytes(*stream_, *window_, length));
    }

    /// What lies in the window from the place on, for who takes it by hand and then says how far he
    /// came, and which text in it was the last, if any.
    const unsigned char *place() const { return at_; }
    const unsigned char *end() const { return end_; }
    void moveTo(const unsigned char *place, std::string_view lastText)
    {
        at_ += place - at_;
        if (lastText.data()) {
            text_ = lastText;
            textEnd_ = end_;
        }
    }

    /// Good until the next call.
    std::string_view lastText() const { return text_; }
    /// Bytes that may be read from where the last text begins.
    uint64_t readable() const
    {
        return static_cast<uint64_t>(textEnd_ -
                                     reinterpret_cast<const unsigned char *>(text_.data()));
    }
    /// Copies the last text, if there was any, to where text goes that isn't in the window.
    void keepText()
    {
        if (text_.data() && text_.data() != apart_->data())
            *apart_ = text_;
    }

private:
    uint64_t left() const { return static_cast<uint64_t>(end_ - at_); }
    // Around a read of the stream, which may put other bytes in the window. What works between them
    // doesn't know this object, so that the compiler can keep it in registers.
    void leaveWindow()
    {
        keepText();
        text_ = {};
        window_->at = at_;
    }
    bool enterWindow(bool isWhole)
    {
        at_ = window_->at;
        end_ = window_->end;
        return isWhole;
    }
    static bool readText(Stream &stream, const Window &window, std::string &text, uint32_t length);
    static bool skipBytes(Stream &stream, Window &window, uint32_t length);

    unsigned char *at_;
    Stream *stream_;
    const unsigned char *end_;
    Window *window_;
    std::string *apart_;
    std::string_view text_;
    const unsigned char *textEnd_ = nullptr;
};

} // namespace tavu
