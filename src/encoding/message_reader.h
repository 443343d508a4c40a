#pragma once

#include "encoding/bytes.h"
#include "encoding/object_value.h"
#include "encoding/windowed_stream.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavu {

class MessageSource;

/// Decodes MessagePack from a Stream, forward only, with no look-ahead: each read of the stream
/// asks for just the lead byte, the number or the body that is due, the body of an empty string
/// included. What the stream has in memory is read there. Raises std::runtime_error; after an
/// exception the stream stands wherever it stopped and the reader must not be used again. What the
/// stream raises passes through.
///
/// Lengths are believed, but memory is taken only as entries and bytes arrive, and no operation
/// recurses. Ext values are refused, and so is the lead byte 0xC1.
class MessageReader
{
public:
    explicit MessageReader(Stream &stream) : MessageReader(stream, WindowedStream::of(stream)) {}
    explicit MessageReader(WindowedStream &stream) : MessageReader(stream, &stream.window()) {}
    MessageReader(const MessageReader &) = delete;
    MessageReader &operator=(const MessageReader &) = delete;

    /// Reads one head (and a string's or number's body); false when it can't be read in full or is
    /// refused, and lastType() then keeps its value.
    bool next();

    // Each reads one head and raises "Failed to read." or, for a value of another type, a text of
    // its own ("Expected array."). Integers go by the sign of the value, not by the form.
    uint32_t readArrayHeader(); ///< elements that follow
    uint32_t readMapHeader();   ///< pairs that follow
    uint32_t readBlobHeader();  ///< bytes that follow
    bool readBool();
    uint64_t readPosInt()
    {
        const uint8_t lead = window_.left() > 9 ? *window_.at : uint8_t(0xC1);
        const unsigned form = lead - 0xCCu;
        if (lead < 0x80) {
            window_.at += 1;
            integer_ = lead;
        } else if (form < 4) {
            integer_ = loadBigEndian(window_.at + 1) >> (64 - (8u << form));
            window_.at += 1 + (1u << form);
        } else {
            return readPosIntApart();
        }
        lastType_ = ObjectType::PositiveInteger;
        return integer_;
    }
    int64_t readNegInt();
    int64_t readInt(); ///< either sign; raises on a value above the signed range
    void readString(std::string &target);
    /// The same where the text lies: good until the next call, and not kept for stringValue().
    std::string_view readText()
    {
        constexpr uint32_t kShort = 32;
        const uint32_t length = window_.left() > kShort ? *window_.at - 0xA0u : kShort;
        if (length >= kShort)
            return readTextApart();
        const std::string_view text(reinterpret_cast<const char *>(window_.at + 1), length);
        window_.at += 1 + length;
        lastType_ = ObjectType::String;
        return text;
    }

    /// Reads the body that follows readBlobHeader() or next(), all of it or nothing.
    void readBlobBody(void *buffer, uint32_t byteCount);
    /// One read of the stream; true if all bytes came.
    bool readRaw(void *buffer, uint64_t byteCount);

    /// Reads one whole value and drops it.
    void skipValue();
    /// Advances to the value of the pair called \a name among the \a remaining pairs of the open
    /// map, which it counts down. Fields that it passes on the way are gone. Raises "Map field not
    /// found." at the end of the map.
    void findField(uint32_t &remaining, const char *name);
    /// Reads one whole value. A key is cut at its first NUL. On an error \a target is unchanged.
    void readObject(ObjectValue &target);

    // What next() found last; each is good for the types that have it.
    ObjectType lastType() const { return lastType_; }
    uint32_t lastLength() const { return lastLength_; }
    int64_t negValue() const { return static_cast<int64_t>(integer_); }
    uint64_t posValue() const { return integer_; }
    std::string stringValue() const { return text_; }
    bool boolValue() const { return bool_; }
    double floatValue() const { return float_; }

private:
    MessageReader(Stream &stream, Window *window)
        : stream_(stream), window_(window ? *window : noWindow_)
    {
    }

    bool decode(MessageSource &source, ObjectValue *slot);
    bool decodeRest(MessageSource &source, uint8_t lead, ObjectValue *slot);
    bool readText(MessageSource &source, uint64_t length, ObjectValue *slot);
    bool readBody(MessageSource &source, ObjectValue &slot);
    void readKey(MessageSource &source, ObjectValue &slot);
    static void putText(ObjectValue *slot, const char *text, uint32_t length, uint64_t readable);
    ObjectValue *readPlainEntries(MessageSource &source, ObjectValue &container);
    void readTree(ObjectValue &root);
    uint64_t readPosIntApart();
    std::string_view readTextApart();
    bool accept(ObjectType type);
    bool acceptInteger(ObjectType type, uint64_t value, ObjectValue *slot);
    bool acceptContainer(ObjectType type, uint64_t length, ObjectValue *slot);
    void require(ObjectType type, const char *complaint);
    void requireNext();
    ObjectValue *openEntry(ObjectValue &container);

    Stream &stream_;
    Window &window_; // of the same stream
    Window noWindow_;
    uint32_t lastLength_ = 0;
    ObjectType lastType_ = ObjectType::Nil;
    uint64_t integer_ = 0; // of either sign
    std::string text_;
    double float_ = 0;
    bool bool_ = false;
};

} // namespace tavu
