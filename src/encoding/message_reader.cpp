#include "encoding/message_reader.h"

#include "encoding/bytes.h"
#include "encoding/message_source.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
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

constexpr uint8_t kFalse = 0xC2;
constexpr uint8_t kTrue = 0xC3;
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

std::string_view textAt(const unsigned char *place, uint32_t length)
{
    return {reinterpret_cast<const char *>(place), length};
}

// A key goes up to its first NUL. So many bytes may be read where it begins.
uint32_t keyLength(std::string_view key, uint64_t readable)
{
    const auto length = static_cast<uint32_t>(key.size());
    if (length <= kLongestCut && readable >= kLongestCut) [[likely]]
        return lengthToNul(key.data(), length);
    return static_cast<uint32_t>(std::min(key.find('\0'), key.size()));
}

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

// Constructs a text value. So many bytes may be read where the text begins: a copy of fixed size
// costs less, but reads too far near the end.
inline void MessageReader::putText(ObjectValue *slot, const char *text, uint32_t length,
                                   uint64_t readable)
{
    if (length <= ObjectValue::kMaxShortText && readable >= ObjectValue::kMaxShortText) [[likely]]
        new (slot) ObjectValue(text, length);
    else
        (new (slot) ObjectValue)->setText(text, length);
}

inline bool MessageReader::readText(MessageSource &source, uint64_t length, ObjectValue *slot)
{
    if (!source.text(static_cast<uint32_t>(length)))
        return false;
    if (slot)
        putText(slot, source.lastText().data(), static_cast<uint32_t>(source.lastText().size()),
                source.readable());
    return accept(ObjectType::String);
}

// One head, and the body of a string or number. With a slot, which is nil, also the body of a blob,
// and all of that goes into the slot. This is what makes up nearly all of our messages.
inline bool MessageReader::decode(MessageSource &source, ObjectValue *slot)
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
    MessageSource apart(source);
    const bool isWhole = decodeRest(apart, lead, slot);
    source = apart;
    return isWhole;
}

NEVER_INLINE bool MessageReader::decodeRest(MessageSource &source, uint8_t lead, ObjectValue *slot)
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
    MessageSource source(stream_, window_, text_);
    const bool found = decode(source, nullptr);
    source.keepText();
    return found;
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

uint64_t MessageReader::readPosIntApart()
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

std::string_view MessageReader::readTextApart()
{
    require(ObjectType::String, kExpectedString);
    return text_;
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
    MessageSource source(stream_, window_, text_);
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

bool MessageReader::readBody(MessageSource &source, ObjectValue &slot)
{
    OwnedBlob bytes = ObjectValue::allocateBlob(lastLength_);
    if (!source.body(bytes.get(), lastLength_))
        return false;
    slot.set(ObjectType::Blob, lastLength_, bytes.release());
    return true;
}

// A key goes up to its first NUL.
void MessageReader::readKey(MessageSource &source, ObjectValue &slot)
{
    requireRead(decode(source, nullptr));
    if (lastType_ != ObjectType::String)
        throw std::runtime_error(kExpectedString);
    const std::string_view text = source.lastText();
    putText(&slot, text.data(), keyLength(text, source.readable()), source.readable());
}

// Takes the entries that most messages are made of, as far as they lie in the window and there is
// room for them: keys and text that lie in the value, booleans and numbers that aren't negative. At
// the first other value it returns the slot for it, whose key is in place. Null when there is none:
// the container is complete, or the next entry isn't so plain from its key on.
//
// Only the slots are written as it goes, the rest at the end, so that the rest can be in registers.
inline ObjectValue *MessageReader::readPlainEntries(MessageSource &source, ObjectValue &container)
{
    ObjectValue::Block *block = container.block();
    ObjectValue *slot = block->slots() + container.slotCount();
    const bool isMap = container.type() == ObjectType::Map;
    const auto most = static_cast<uint32_t>(
        std::min<uint64_t>(block->pending, block->capacity - container.size_));
    const unsigned char *at = source.place();
    const unsigned char *const end = source.end();
    std::string_view lastText;
    ObjectType lastType = lastType_;
    uint64_t integer = integer_;
    ObjectValue *open = nullptr;
    uint32_t count = 0;
    for (; count < most && at < end; ++count) {
        if (isMap) {
            const uint32_t length = *at - 0xA0u;
            if (length > kLongestCut || end - at <= 1 + static_cast<ptrdiff_t>(length))
                break;
            lastText = textAt(at + 1, length);
            const auto readable = static_cast<uint64_t>(end - at - 1);
            putText(slot++, lastText.data(), keyLength(lastText, readable), readable);
            at += 1 + length;
        }
        const uint8_t lead = *at;
        const unsigned numberForm = lead - kUnsigned;
        const uint32_t length = lead - 0xA0u;
        if (lead < 0x80) {
            integer = lead;
            at += 1;
            new (slot) ObjectValue(ObjectType::PositiveInteger, 0, integer);
            lastType = ObjectType::PositiveInteger;
        } else if (numberForm < 4 && end - at > 1 + 8) {
            integer = loadBigEndian(at + 1) >> (64 - (8u << numberForm));
            at += 1 + (1u << numberForm);
            new (slot) ObjectValue(ObjectType::PositiveInteger, 0, integer);
            lastType = ObjectType::PositiveInteger;
        } else if (length <= ObjectValue::kMaxShortText &&
                   end - at > 1 + static_cast<ptrdiff_t>(length)) {
            lastText = textAt(at + 1, length);
            putText(slot, lastText.data(), length, static_cast<uint64_t>(end - at - 1));
            at += 1 + length;
            lastType = ObjectType::String;
        } else if (lead == kFalse || lead == kTrue) {
            bool_ = lead == kTrue;
            at += 1;
            new (slot) ObjectValue(ObjectType::Bool, 0, uint64_t(bool_));
            lastType = ObjectType::Bool;
        } else {
            open = new (slot) ObjectValue;
            ++count;
            break;
        }
        ++slot;
    }
    container.size_ += count;
    block->pending -= count;
    lastType_ = lastType;
    integer_ = integer;
    source.moveTo(at, lastText);
    return open;
}

void MessageReader::readTree(ObjectValue &root)
{
    MessageSource source(stream_, window_, text_);
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
        slot = open ? readPlainEntries(source, *open) : nullptr;
        if (slot)
            continue;
        while (open && open->block()->pending == 0) {
            open = open->block()->parent;
            --depth;
        }
        if (!open)
            return source.keepText();
        slot = openEntry(*open);
        if (open->type() == ObjectType::Map) {
            readKey(source, *slot);
            open->block()->mayOwn |= slot->ownsMemory();
            ++slot;
        }
    }
}

void MessageReader::readObject(ObjectValue &target)
{
    ObjectValue root;
    readTree(root);
    if (target.ownsMemory())
        target.release();
    target.steal(root);
}

// Adds an entry to a container that isn't complete, and returns its first slot. No container inside
// is incomplete now, so that the slots may move.
inline ObjectValue *MessageReader::openEntry(ObjectValue &container)
{
    // The analyzer doesn't see through the bytes that hold a value's pointer to its block.
    const uint64_t announced =
        container.size_ + container.block()->pending--; // NOLINT(clang-analyzer-core.*)
    if (container.size_ == container.block()->capacity)
        container.setCapacity(
            static_cast<uint32_t>(std::min(2 * uint64_t(container.size_), announced)));
    return container.addEntry();
}

} // namespace tavu
