#include "encoding/message_reader.h"

#include "encoding/bytes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

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
    Unsigned,
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

constexpr Head kHeads[32] = {
    {Form::Nil, 0},      {Form::Refused, 0},  {Form::Bool, 0},     {Form::Bool, 0},
    {Form::Blob, 1},     {Form::Blob, 2},     {Form::Blob, 4},     {Form::Refused, 0},
    {Form::Refused, 0},  {Form::Refused, 0},  {Form::Float, 4},    {Form::Double, 8},
    {Form::Unsigned, 1}, {Form::Unsigned, 2}, {Form::Unsigned, 4}, {Form::Unsigned, 8},
    {Form::Signed, 1},   {Form::Signed, 2},   {Form::Signed, 4},   {Form::Signed, 8},
    {Form::Refused, 0},  {Form::Refused, 0},  {Form::Refused, 0},  {Form::Refused, 0},
    {Form::Refused, 0},  {Form::String, 1},   {Form::String, 2},   {Form::String, 4},
    {Form::Array, 2},    {Form::Array, 4},    {Form::Map, 2},      {Form::Map, 4},
};

// Entries to make room for before any has arrived. A message may open containers inside containers
// that all announce more than ever comes, so the deeper they lie the less room they get.
uint32_t firstCapacity(uint32_t announced, uint64_t depth)
{
    constexpr uint64_t kMost = 1024, kLeast = 4;
    return std::min(announced, static_cast<uint32_t>(std::max(kMost / (depth + 1), kLeast)));
}

} // namespace

bool MessageReader::readRaw(void *buffer, uint64_t byteCount)
{
    return stream_.read(buffer, byteCount) == byteCount;
}

bool MessageReader::readNumber(unsigned width, uint64_t &number)
{
    unsigned char bytes[8] = {};
    if (!readRaw(bytes + sizeof bytes - width, width))
        return false;
    number = loadBigEndian(bytes);
    return true;
}

// Long text grows as its bytes arrive.
bool MessageReader::readText(uint32_t length)
{
    constexpr uint32_t kPiece = 1u << 20;
    nearbyText_ = {};
    uint32_t done = 0;
    do {
        const uint32_t piece = std::min(length - done, kPiece);
        // One read of the whole would have been clipped here, which isn't yet the end of the data.
        if (done > 0 && memory_ && memory_->remaining() == 0)
            return false;
        text_.resize(size_t(done) + piece);
        if (!readRaw(text_.data() + done, piece))
            return false;
        done += piece;
    } while (done < length);
    return true;
}

inline bool MessageReader::accept(ObjectType type)
{
    lastType_ = type;
    return true;
}

inline bool MessageReader::acceptInteger(uint64_t value, bool negative)
{
    integer_ = value;
    return accept(negative ? ObjectType::NegativeInteger : ObjectType::PositiveInteger);
}

inline bool MessageReader::acceptLength(ObjectType type, uint64_t length)
{
    lastLength_ = static_cast<uint32_t>(length);
    return accept(type);
}

bool MessageReader::next()
{
    uint8_t lead;
    if (!readRaw(&lead, 1))
        return false;
    if (lead < 0x80)
        return acceptInteger(lead, false);
    if (lead < 0x90)
        return acceptLength(ObjectType::Map, lead & 0x0F);
    if (lead < 0xA0)
        return acceptLength(ObjectType::Array, lead & 0x0F);
    if (lead < 0xC0)
        return readText(lead & 0x1F) && accept(ObjectType::String);
    if (lead >= 0xE0)
        return acceptInteger(static_cast<uint64_t>(static_cast<int8_t>(lead)), true);

    const auto [form, width] = kHeads[lead - 0xC0];
    uint64_t number = 0;
    if (width > 0 && !readNumber(width, number))
        return false;
    switch (form) {
    case Form::Refused:
        return false;
    case Form::Nil:
        return accept(ObjectType::Nil);
    case Form::Bool:
        bool_ = lead & 1;
        return accept(ObjectType::Bool);
    case Form::Blob:
        return acceptLength(ObjectType::Blob, number);
    case Form::Float:
        float_ = std::bit_cast<float>(static_cast<uint32_t>(number));
        return accept(ObjectType::Float);
    case Form::Double:
        float_ = std::bit_cast<double>(number);
        return accept(ObjectType::Float);
    case Form::Unsigned:
        return acceptInteger(number, false);
    case Form::Signed: {
        const unsigned unused = 64 - 8 * width;
        const int64_t value = static_cast<int64_t>(number << unused) >> unused;
        return acceptInteger(static_cast<uint64_t>(value), value < 0);
    }
    case Form::String:
        return readText(static_cast<uint32_t>(number)) && accept(ObjectType::String);
    case Form::Array:
        return acceptLength(ObjectType::Array, number);
    case Form::Map:
        return acceptLength(ObjectType::Map, number);
    }
    return false;
}

// Typed reads

void MessageReader::requireNext()
{
    if (!next())
        throw std::runtime_error(kFailedToRead);
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
    if (!readRaw(buffer, byteCount))
        throw std::runtime_error(kFailedToRead);
}

// Whole values

void MessageReader::skipValue()
{
    // Values still to come, at whatever depth. At its limit it stays: nobody sends that many.
    uint64_t pending = 1;
    while (pending > 0) {
        requireNext();
        --pending;
        uint64_t inside = 0;
        if (lastType_ == ObjectType::Blob)
            skipBytes(lastLength_);
        else if (lastType_ == ObjectType::Map)
            inside = 2 * uint64_t(lastLength_);
        else if (lastType_ == ObjectType::Array)
            inside = lastLength_;
        pending = inside > ~pending ? ~uint64_t(0) : pending + inside;
    }
}

void MessageReader::skipBytes(uint64_t byteCount)
{
    unsigned char piece[4096];
    uint64_t done = 0;
    do {
        const uint64_t count = std::min<uint64_t>(byteCount - done, sizeof piece);
        const bool clipped = done > 0 && memory_ && memory_->remaining() == 0;
        if (clipped || !readRaw(piece, count))
            throw std::runtime_error(kFailedToRead);
        done += count;
    } while (done < byteCount);
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

// Reads one head into a nil slot; of a map or array, the head is all.
void MessageReader::readInto(ObjectValue &slot)
{
    requireNext();
    switch (lastType_) {
    case ObjectType::Nil:
        return;
    case ObjectType::NegativeInteger:
    case ObjectType::PositiveInteger:
        return slot.set(lastType_, 0, integer_);
    case ObjectType::String:
        return slot.setText(text_.data(), static_cast<uint32_t>(text_.size()));
    case ObjectType::Bool:
        return slot.set(lastType_, 0, uint64_t(bool_));
    case ObjectType::Float:
        return slot.set(lastType_, 0, float_);
    case ObjectType::Blob: {
        OwnedBlob bytes = ObjectValue::allocateBlob(lastLength_);
        readBlobBody(bytes.get(), lastLength_);
        return slot.set(lastType_, lastLength_, bytes.release());
    }
    case ObjectType::Map:
    case ObjectType::Array:
        return slot.set(lastType_, 0, static_cast<ObjectValue::Block *>(nullptr));
    }
    throw std::runtime_error("Unrecognized object type.");
}

// The bytes of a MemStream, decoded in place as long as all that next() would read is there and a
// byte is left over. Of any other stream, nothing is there. The stream follows at sync() and at the
// end.
class MessageReader::Nearby
{
public:
    explicit Nearby(MemStream *stream) : stream_(stream) { begin(); }
    Nearby(const Nearby &) = delete;
    Nearby &operator=(const Nearby &) = delete;
    ~Nearby() { sync(); }

    const unsigned char *bytes() const { return bytes_; }
    bool has(uint64_t byteCount) const { return room_ > byteCount; }
    void advance(uint64_t byteCount)
    {
        bytes_ += byteCount;
        room_ -= byteCount;
    }

    // Before and after reads of the stream itself; one that raises comes to no begin().
    void sync()
    {
        if (stream_)
            stream_->advance(static_cast<uint64_t>(bytes_ - synced_));
        synced_ = bytes_;
    }
    void begin()
    {
        synced_ = bytes_ = stream_ ? stream_->position() : nullptr;
        room_ = stream_ ? stream_->remaining() : 0;
    }

private:
    MemStream *stream_;
    const unsigned char *bytes_;
    const unsigned char *synced_; // where the stream stands
    uint64_t room_;
};

// Text short enough to lie in a value; of a key, only up to its first NUL.
inline bool MessageReader::readNearbyText(Nearby &nearby, ObjectValue &slot, bool isKey)
{
    constexpr uint32_t kLongest = ObjectValue::kMaxShortText;
    if (!nearby.has(1 + kLongest))
        return false;
    const uint32_t length = nearby.bytes()[0] - 0xA0u;
    if (length > (isKey ? kLongestCut : kLongest))
        return false;
    const auto *text = reinterpret_cast<const char *>(nearby.bytes() + 1);
    slot.setShortText(text, isKey ? lengthToNul(text, length) : length);
    nearbyText_ = std::string_view(text, length);
    nearby.advance(1 + length);
    return accept(ObjectType::String);
}

// What makes up nearly all of our messages: numbers of zero or more, and short text. Anything else
// is left to next().
inline bool MessageReader::readNearbyValue(Nearby &nearby, ObjectValue &slot)
{
    if (!nearby.has(1))
        return false;
    const uint8_t lead = nearby.bytes()[0];
    const unsigned form = lead - 0xCCu;
    if (lead < 0x80) {
        acceptInteger(lead, false);
        nearby.advance(1);
    } else if (form < 4 && nearby.has(1 + 8)) {
        acceptInteger(loadBigEndian(nearby.bytes() + 1) >> (64 - (8u << form)), false);
        nearby.advance(1 + (1u << form));
    } else if (lead < 0xA0) {
        acceptLength(lead < 0x90 ? ObjectType::Map : ObjectType::Array, lead & 0x0F);
        nearby.advance(1);
        slot.set(lastType_, 0, uint64_t(0));
        return true;
    } else {
        return readNearbyText(nearby, slot, false);
    }
    slot.set(ObjectType::PositiveInteger, 0, integer_);
    return true;
}

void MessageReader::readObject(ObjectValue &target)
{
    ObjectValue root;
    ObjectValue *slot = &root;   // the one that the next value goes into
    ObjectValue *open = nullptr; // the innermost container that lacks entries
    uint64_t depth = 0;
    Nearby nearby(memory_);
    nearbyText_ = {};
    for (;;) {
        if (!readNearbyValue(nearby, *slot)) {
            nearby.sync();
            readInto(*slot);
            nearby.begin();
        }
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
            break;
        slot = openEntry(*open);
        if (open->type() == ObjectType::Map) {
            if (!readNearbyText(nearby, *slot, true)) {
                nearby.sync();
                readKey(*slot);
                open->block()->mayOwn |= slot->ownsMemory();
                nearby.begin();
            }
            ++slot;
        }
    }
    if (nearbyText_.data())
        text_ = nearbyText_;
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

void MessageReader::readKey(ObjectValue &slot)
{
    require(ObjectType::String, kExpectedString);
    slot.setText(text_.data(), static_cast<uint32_t>(std::strlen(text_.c_str())));
}

} // namespace tavu
