#include "encoding/message_reader.h"

#include "encoding/bytes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#if defined(_MSC_VER)
#define NEVER_INLINE __declspec(noinline)
#else
#define NEVER_INLINE [[gnu::noinline]]
#endif

namespace tavu {

namespace {

constexpr char kFailedToRead[] = "Failed to read.";
constexpr char kExpectedString[] = "Expected string.";

// How the lead bytes 0xC0 to 0xDF go on: by so many bytes that make a number, which is a value or
// the length of what follows.
enum class Form : uint8_t
{
    Refused,
    Nil,
    Bool,
    Blob,
    Float,
    Double,
    Signed,
    String,
    Array,
    Map,
};

struct Head
{
    Form form;
    uint8_t width;
};

constexpr uint8_t kUnsigned = 0xCC;

constexpr Head kHeads[32] = {
    {Form::Nil, 0},     {Form::Refused, 0}, {Form::Bool, 0},    {Form::Bool, 0},
    {Form::Blob, 1},    {Form::Blob, 2},    {Form::Blob, 4},    {Form::Refused, 0},
    {Form::Refused, 0}, {Form::Refused, 0}, {Form::Float, 4},   {Form::Double, 8},
    {Form::Refused, 1}, {Form::Refused, 2}, {Form::Refused, 4}, {Form::Refused, 8},
    {Form::Signed, 1},  {Form::Signed, 2},  {Form::Signed, 4},  {Form::Signed, 8},
    {Form::Refused, 0}, {Form::Refused, 0}, {Form::Refused, 0}, {Form::Refused, 0},
    {Form::Refused, 0}, {Form::String, 1},  {Form::String, 2},  {Form::String, 4},
    {Form::Array, 2},   {Form::Array, 4},   {Form::Map, 2},     {Form::Map, 4},
};

void requireRead(bool isWhole)
{
    if (!isWhole)
        throw std::runtime_error(kFailedToRead);
}

// Entries to make room for before any has arrived. A message may open containers inside containers
// that all announce more than ever comes, so the deeper they lie the less room they get.
uint32_t firstCapacity(uint32_t announced, uint64_t depth)
{
    constexpr uint64_t kMost = 1024, kLeast = 4;
    return std::min(announced, static_cast<uint32_t>(std::max(kMost / (depth + 1), kLeast)));
}

} // namespace

// Where bytes come from. Both sources say what a read of the stream would: each call is one read of
// just what is due, and false is a read that came short.

// Any stream.
class MessageReader::AnyStream
{
public:
    explicit AnyStream(MessageReader &reader) : reader_(reader) {}
    AnyStream(const AnyStream &) = default;
    AnyStream &operator=(const AnyStream &) { return *this; }

    bool lead(uint8_t &byte) { return reader_.readRaw(&byte, 1); }
    bool number(unsigned width, uint64_t &number)
    {
        unsigned char bytes[8] = {};
        if (!reader_.readRaw(bytes + sizeof bytes - width, width))
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
            reader_.text_.resize(size_t(done) + piece);
            if (!reader_.readRaw(reader_.text_.data() + done, piece))
                return false;
            done += piece;
        } while (done < length);
        return true;
    }
    bool body(void *buffer, uint32_t length) { return reader_.readRaw(buffer, length); }
    bool skip(uint32_t length)
    {
        unsigned char piece[4096];
        uint32_t done = 0;
        do {
            const uint32_t count = std::min<uint32_t>(length - done, sizeof piece);
            if (!reader_.readRaw(piece, count))
                return false;
            done += count;
        } while (done < length);
        return true;
    }

    bool shortKey(ObjectValue &) { return false; }
    std::string_view lastText() const { return reader_.text_; }
    // Bytes that may be read from where the last text begins.
    uint64_t readable() const { return reader_.text_.size(); }
    void keepText() {}

private:
    MessageReader &reader_;
};

// The bytes of a MemStream, where they lie. The stream follows at the end.
class MessageReader::InPlace
{
public:
    explicit InPlace(MessageReader &reader)
        : reader_(reader), at_(reader.memory_->position()), end_(at_ + reader.memory_->remaining())
    {
    }
    InPlace(const InPlace &) = default;
    InPlace &operator=(const InPlace &other)
    {
        at_ = other.at_;
        text_ = other.text_;
        return *this;
    }
    ~InPlace()
    {
        // A copy may have got further before it raised.
        MemStream &stream = *reader_.memory_;
        if (at_ > stream.position())
            stream.advance(static_cast<uint64_t>(at_ - stream.position()));
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

    bool shortKey(ObjectValue &slot)
    {
        if (left() <= 1 + ObjectValue::kMaxShortText)
            return false;
        const uint32_t length = at_[0] - 0xA0u;
        if (length > kLongestCut)
            return false;
        const auto *text = reinterpret_cast<const char *>(at_ + 1);
        slot.setShortText(text, lengthToNul(text, length));
        text_ = std::string_view(text, length);
        at_ += 1 + length;
        return reader_.accept(ObjectType::String);
    }

    std::string_view lastText() const { return text_; }
    uint64_t readable() const
    {
        return static_cast<uint64_t>(end_ - reinterpret_cast<const unsigned char *>(text_.data()));
    }
    // The text in place is good only until the caller goes on.
    void keepText()
    {
        if (text_.data())
            reader_.text_ = text_;
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

    MessageReader &reader_;
    const unsigned char *at_;
    const unsigned char *end_;
    std::string_view text_;
};

// Calls \a work with the source that the stream makes.
template <typename Work>
auto MessageReader::withSource(const Work &work)
{
    if (memory_) {
        InPlace source(*this);
        return work(source);
    }
    AnyStream source(*this);
    return work(source);
}

bool MessageReader::readRaw(void *buffer, uint64_t byteCount)
{
    return stream_.read(buffer, byteCount) == byteCount;
}

inline bool MessageReader::accept(ObjectType type)
{
    lastType_ = type;
    return true;
}

inline bool MessageReader::acceptInteger(ObjectType type, uint64_t value, ObjectValue *slot)
{
    integer_ = value;
    if (slot)
        slot->set(type, 0, value);
    return accept(type);
}

inline bool MessageReader::acceptContainer(ObjectType type, uint64_t length, ObjectValue *slot)
{
    lastLength_ = static_cast<uint32_t>(length);
    if (slot)
        slot->set(type, 0, uint64_t(0));
    return accept(type);
}

template <typename Source>
inline bool MessageReader::readText(Source &source, uint64_t length, ObjectValue *slot)
{
    if (!source.text(static_cast<uint32_t>(length)))
        return false;
    if (slot)
        setText(source, *slot, source.lastText().size());
    return accept(ObjectType::String);
}

// One head, and the body of a string or number. With a slot, which is nil, also the body of a blob,
// and all of that goes into the slot. This is what makes up nearly all of our messages.
template <typename Source>
inline bool MessageReader::decode(Source &source, ObjectValue *slot)
{
    uint8_t lead;
    if (!source.lead(lead))
        return false;
    if (lead < 0x80)
        return acceptInteger(ObjectType::PositiveInteger, lead, slot);
    if (const unsigned form = lead - kUnsigned; form < 4) {
        uint64_t number = 0;
        return source.number(1u << form, number) &&
               acceptInteger(ObjectType::PositiveInteger, number, slot);
    }
    if (lead < 0xA0)
        return acceptContainer(lead < 0x90 ? ObjectType::Map : ObjectType::Array, lead & 0x0F,
                               slot);
    if (lead < 0xC0)
        return readText(source, lead & 0x1F, slot);
    // The compiler can keep the source in registers as long as nobody else works on it.
    Source apart(source);
    const bool isWhole = decodeRest(apart, lead, slot);
    source = apart;
    return isWhole;
}

template <typename Source>
NEVER_INLINE bool MessageReader::decodeRest(Source &source, uint8_t lead, ObjectValue *slot)
{
    if (lead >= 0xE0)
        return acceptInteger(ObjectType::NegativeInteger,
                             static_cast<uint64_t>(static_cast<int8_t>(lead)), slot);
    uint64_t number = 0;
    const auto [form, width] = kHeads[lead - 0xC0];
    if (width > 0 && !source.number(width, number))
        return false;
    switch (form) {
    case Form::Refused:
        return false;
    case Form::Nil:
        return accept(ObjectType::Nil);
    case Form::Bool:
        bool_ = lead & 1;
        if (slot)
            slot->set(ObjectType::Bool, 0, uint64_t(bool_));
        return accept(ObjectType::Bool);
    case Form::Blob:
        lastLength_ = static_cast<uint32_t>(number);
        accept(ObjectType::Blob);
        return !slot || readBody(source, *slot);
    case Form::Float:
    case Form::Double:
        float_ = form == Form::Float ? std::bit_cast<float>(static_cast<uint32_t>(number))
                                     : std::bit_cast<double>(number);
        if (slot)
            slot->set(ObjectType::Float, 0, float_);
        return accept(ObjectType::Float);
    case Form::Signed: {
        const unsigned unused = 64 - 8 * width;
        const int64_t value = static_cast<int64_t>(number << unused) >> unused;
        return acceptInteger(value < 0 ? ObjectType::NegativeInteger : ObjectType::PositiveInteger,
                             static_cast<uint64_t>(value), slot);
    }
    case Form::String:
        return readText(source, number, slot);
    case Form::Array:
        return acceptContainer(ObjectType::Array, number, slot);
    case Form::Map:
        return acceptContainer(ObjectType::Map, number, slot);
    }
    return false;
}

bool MessageReader::next()
{
    return withSource([this](auto &source) {
        const bool found = decode(source, nullptr);
        source.keepText();
        return found;
    });
}

// Typed reads

void MessageReader::requireNext()
{
    requireRead(next());
}

void MessageReader::require(ObjectType type, const char *complaint)
{
    requireNext();
    if (lastType_ != type)
        throw std::runtime_error(complaint);
}

uint32_t MessageReader::readArrayHeader()
{
    require(ObjectType::Array, "Expected array.");
    return lastLength_;
}

uint32_t MessageReader::readMapHeader()
{
    require(ObjectType::Map, "Expected map.");
    return lastLength_;
}

uint32_t MessageReader::readBlobHeader()
{
    require(ObjectType::Blob, "Expected blob.");
    return lastLength_;
}

bool MessageReader::readBool()
{
    require(ObjectType::Bool, "Expected boolean.");
    return bool_;
}

uint64_t MessageReader::readPosInt()
{
    require(ObjectType::PositiveInteger, "Expected pos integer.");
    return posValue();
}

int64_t MessageReader::readNegInt()
{
    require(ObjectType::NegativeInteger, "Expected neg integer.");
    return negValue();
}

int64_t MessageReader::readInt()
{
    requireNext();
    if (lastType_ == ObjectType::PositiveInteger) {
        if (integer_ > uint64_t(std::numeric_limits<int64_t>::max()))
            throw std::runtime_error("Integer value out of range, expected int64_t.");
    } else if (lastType_ != ObjectType::NegativeInteger) {
        throw std::runtime_error("Expected integer.");
    }
    return negValue();
}

void MessageReader::readString(std::string &target)
{
    require(ObjectType::String, kExpectedString);
    target = text_;
}

void MessageReader::readBlobBody(void *buffer, uint32_t byteCount)
{
    if (lastType_ != ObjectType::Blob)
        throw std::runtime_error("Not a blob.");
    if (byteCount != lastLength_)
        throw std::runtime_error("Must read entire blob.");
    requireRead(readRaw(buffer, byteCount));
}

// Whole values

void MessageReader::skipValue()
{
    withSource([this](auto &source) {
        // Values still to come, at whatever depth. At its limit it stays: nobody sends that many.
        uint64_t pending = 1;
        while (pending > 0) {
            requireRead(decode(source, nullptr));
            --pending;
            uint64_t inside = 0;
            if (lastType_ == ObjectType::Blob)
                requireRead(source.skip(lastLength_));
            else if (lastType_ == ObjectType::Map)
                inside = 2 * uint64_t(lastLength_);
            else if (lastType_ == ObjectType::Array)
                inside = lastLength_;
            pending = inside > ~pending ? ~uint64_t(0) : pending + inside;
        }
        source.keepText();
    });
}

void MessageReader::findField(uint32_t &remaining, const char *name)
{
    while (remaining > 0) {
        require(ObjectType::String, kExpectedString);
        if (text_ == name) {
            --remaining;
            return;
        }
        skipValue();
        --remaining;
    }
    throw std::runtime_error("Map field not found.");
}

// Makes a nil slot the source's last text, or as much of it as \a length says.
template <typename Source>
inline void MessageReader::setText(const Source &source, ObjectValue &slot, size_t length)
{
    const char *text = source.lastText().data();
    if (length <= ObjectValue::kMaxShortText && source.readable() >= ObjectValue::kMaxShortText)
        slot.setShortText(text, static_cast<uint32_t>(length));
    else
        slot.setText(text, static_cast<uint32_t>(length));
}

template <typename Source>
bool MessageReader::readBody(Source &source, ObjectValue &slot)
{
    OwnedBlob bytes = ObjectValue::allocateBlob(lastLength_);
    if (!source.body(bytes.get(), lastLength_))
        return false;
    slot.set(ObjectType::Blob, lastLength_, bytes.release());
    return true;
}

// A key goes up to its first NUL.
template <typename Source>
NEVER_INLINE void MessageReader::readKey(Source &source, ObjectValue &slot)
{
    requireRead(decode(source, nullptr));
    if (lastType_ != ObjectType::String)
        throw std::runtime_error(kExpectedString);
    const std::string_view text = source.lastText();
    const bool isShort = text.size() <= kLongestCut && source.readable() >= kLongestCut;
    setText(source, slot,
            isShort ? lengthToNul(text.data(), static_cast<uint32_t>(text.size()))
                    : std::min(text.find('\0'), text.size()));
}

template <typename Source>
void MessageReader::readTree(ObjectValue &root)
{
    Source source(*this);
    ObjectValue *slot = &root;   // the one that the next value goes into
    ObjectValue *open = nullptr; // the innermost container that lacks entries
    uint64_t depth = 0;
    for (;;) {
        requireRead(decode(source, slot));
        if (slot->ownsMemory() && open)
            open->block()->mayOwn = true;
        if (slot->isContainer() && lastLength_ > 0) {
            slot->setCapacity(firstCapacity(lastLength_, depth++));
            slot->block()->parent = std::exchange(open, slot);
            slot->block()->pending = lastLength_;
        }
        while (open && open->block()->pending == 0) {
            open = open->block()->parent;
            --depth;
        }
        if (!open)
            return source.keepText();
        slot = openEntry(*open);
        if (open->type() == ObjectType::Map) {
            if (!source.shortKey(*slot)) {
                Source apart(source);
                readKey(apart, *slot);
                source = apart;
                open->block()->mayOwn |= slot->ownsMemory();
            }
            ++slot;
        }
    }
}

void MessageReader::readObject(ObjectValue &target)
{
    ObjectValue root;
    if (memory_)
        readTree<InPlace>(root);
    else
        readTree<AnyStream>(root);
    target = std::move(root);
}

// Adds an entry to a container that isn't complete, and returns its first slot. No container inside
// is incomplete now, so that the slots may move.
inline ObjectValue *MessageReader::openEntry(ObjectValue &container)
{
    const uint64_t announced = container.size_ + container.block()->pending--;
    if (container.size_ == container.block()->capacity)
        container.setCapacity(
            static_cast<uint32_t>(std::min(2 * uint64_t(container.size_), announced)));
    return container.addEntry();
}

} // namespace tavu
