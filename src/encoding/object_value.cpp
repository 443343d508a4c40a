#include "encoding/object_value.h"

#include "encoding/bytes.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tavu {

namespace {

constexpr char kNotMap[] = "Object is not a map.";
constexpr char kNotArray[] = "Object is not an array.";
constexpr char kOutOfMap[] = "Index out of map range.";
constexpr char kOutOfArray[] = "Index out of array range.";
constexpr char kNotPositive[] =
    "Object type is not positive integer, but positive integer expected.";
constexpr char kNotNegative[] =
    "Object type is not negative integer, but negative integer expected.";
constexpr char kNotInteger[] = "Object type is not an integer, but an integer was expected.";
constexpr char kNotBool[] = "Object type is not bool, but bool expected.";
constexpr char kNotFloat[] = "Object type is not float, but float expected.";
constexpr char kNotString[] = "Object type is not string, but string expected.";
constexpr char kNotBlob[] = "Object type is not blob, but blob expected.";
constexpr char kNoSize[] = "Object does not have size, array/map/string/blob expected.";
constexpr char kKeyNotFound[] = "Key not found in map.";
constexpr char kOutOfRange[] = "Integer value out of range, expected int64_t.";

char *allocateText(uint32_t length)
{
    return static_cast<char *>(::operator new(static_cast<size_t>(uint64_t(length) + 1)));
}

uint32_t countedLength(const char *text)
{
    return static_cast<uint32_t>(std::strlen(text));
}

} // namespace

static_assert(sizeof(ObjectValue) == 24);

void BlobDeleter::operator()(uint8_t *bytes) const
{
    ::operator delete(bytes);
}

OwnedBlob ObjectValue::allocateBlob(uint32_t size)
{
    return OwnedBlob(static_cast<uint8_t *>(::operator new(size)));
}

// Construction

ObjectValue ObjectValue::negative(int64_t value)
{
    return ObjectValue(ObjectType::NegativeInteger, 0, value);
}

ObjectValue ObjectValue::positive(uint64_t value)
{
    return ObjectValue(ObjectType::PositiveInteger, 0, value);
}

ObjectValue ObjectValue::boolean(bool value)
{
    return ObjectValue(ObjectType::Bool, 0, uint64_t(value));
}

ObjectValue ObjectValue::number(double value)
{
    return ObjectValue(ObjectType::Float, 0, value);
}

ObjectValue ObjectValue::string(const char *text, uint32_t length)
{
    ObjectValue result;
    result.setText(text, length == kCountedLength ? countedLength(text) : length);
    return result;
}

ObjectValue ObjectValue::string(const std::string &text)
{
    ObjectValue result;
    result.setText(text.data(), static_cast<uint32_t>(text.size()));
    return result;
}

ObjectValue ObjectValue::blob(const void *bytes, uint32_t size)
{
    OwnedBlob copy = allocateBlob(size);
    copyBytes(copy.get(), bytes, size);
    return blob(std::move(copy), size);
}

ObjectValue ObjectValue::blob(OwnedBlob bytes, uint32_t size)
{
    return ObjectValue(ObjectType::Blob, size, bytes.release());
}

ObjectValue ObjectValue::map(uint32_t capacity)
{
    ObjectValue result(ObjectType::Map, 0, static_cast<Block *>(nullptr));
    result.setCapacity(capacity);
    return result;
}

ObjectValue ObjectValue::array(uint32_t capacity)
{
    ObjectValue result(ObjectType::Array, 0, static_cast<Block *>(nullptr));
    result.setCapacity(capacity);
    return result;
}

// Makes a nil value a string.
void ObjectValue::setText(const char *text, uint32_t length)
{
    char *target = storage_;
    if (length > kMaxShortText) {
        target = allocateText(length);
        setPayload(target);
    }
    copyBytes(target, text, length);
    target[length] = '\0';
    size_ = length;
    tag_ = static_cast<uint8_t>(ObjectType::String);
}

// Copying and moving

ObjectValue::ObjectValue(const ObjectValue &other) : ObjectValue()
{
    struct Stretch
    {
        const ObjectValue *from;
        ObjectValue *to;
        uint64_t slots;
    };
    if (!copyWithoutEntries(other))
        return;
    std::vector<Stretch> path{{other.slots(), slots(), other.slotCount()}};
    while (!path.empty()) {
        Stretch &innermost = path.back();
        const ObjectValue &from = *innermost.from++;
        ObjectValue &to = *innermost.to++;
        if (--innermost.slots == 0)
            path.pop_back();
        if (to.copyWithoutEntries(from))
            path.push_back({from.slots(), to.slots(), from.slotCount()});
    }
}

// Makes a nil value a copy of the other one; a map or array gets nil in each of its slots, so that
// it can be destroyed at any time. True when there are slots to be filled.
bool ObjectValue::copyWithoutEntries(const ObjectValue &other)
{
    if (other.isContainer()) {
        setPayload(static_cast<Block *>(nullptr));
        tag_ = other.tag_;
        setCapacity(other.size_);
        size_ = other.size_;
        std::uninitialized_default_construct_n(slots(), slotCount());
        if (size_ > 0)
            block()->mayOwn = other.block()->mayOwn;
        return size_ > 0;
    }
    if (other.tag_ == static_cast<uint8_t>(ObjectType::String)) {
        const uint32_t length = static_cast<uint32_t>(std::strlen(other.text()));
        // Room for the whole size: what it counts behind the NUL is cleared, never old memory.
        if (other.isLongText())
            setPayload(allocateText(other.size_));
        char *target = other.isLongText() ? payload<char *>() : storage_;
        copyBytes(target, other.text(), length);
        std::memset(target + length, 0, static_cast<size_t>(uint64_t(other.size_) - length + 1));
    } else if (other.tag_ == static_cast<uint8_t>(ObjectType::Blob)) {
        OwnedBlob copy = allocateBlob(other.size_);
        copyBytes(copy.get(), other.payload<const uint8_t *>(), other.size_);
        setPayload(copy.release());
    } else {
        setPayload(other.payload<uint64_t>());
    }
    size_ = other.size_;
    tag_ = other.tag_;
    return false;
}

ObjectValue &ObjectValue::operator=(const ObjectValue &other)
{
    if (this != &other) {
        // The other value may be part of our own tree.
        ObjectValue copy(other);
        *this = std::move(copy);
    }
    return *this;
}

ObjectValue &ObjectValue::operator=(ObjectValue &&other) noexcept
{
    if (this != &other) {
        ObjectValue taken(std::move(other));
        if (ownsMemory())
            release();
        steal(taken);
    }
    return *this;
}

// Destruction

void ObjectValue::release() noexcept
{
    if (isContainer())
        releaseTree();
    else
        ::operator delete(payload<void *>());
    size_ = 0;
    tag_ = static_cast<uint8_t>(ObjectType::Nil);
    setPayload(uint64_t(0));
}

// Empties the containers from their last slot on. The way back up is kept in the blocks, so that
// the depth of a tree costs neither stack nor memory.
void ObjectValue::releaseTree() noexcept
{
    const auto enter = [](ObjectValue *container, ObjectValue *parent) {
        container->block()->parent = parent;
        container->block()->pending = container->slotCount();
        return container;
    };
    if (!block())
        return;
    if (!block()->mayOwn) {
        ::operator delete(block());
        return;
    }
    ObjectValue *open = enter(this, nullptr);
    while (open) {
        Block *block = open->block();
        ObjectValue *const first = block->slots();
        ObjectValue *slot = first + block->pending;
        ObjectValue *inner = nullptr;
        while (slot != first && !inner) {
            --slot;
            if (!slot->ownsMemory())
                continue;
            if (slot->isContainer() && slot->block() && slot->block()->mayOwn)
                inner = slot;
            else
                ::operator delete(slot->payload<void *>());
        }
        block->pending = static_cast<uint64_t>(slot - first);
        if (inner) {
            open = enter(inner, open);
        } else {
            open = block->parent;
            ::operator delete(block);
        }
    }
}

// Access

void ObjectValue::require(ObjectType tag, const char *complaint) const
{
    if (type() != tag)
        throw std::runtime_error(complaint);
}

uint64_t ObjectValue::asPositive() const
{
    require(ObjectType::PositiveInteger, kNotPositive);
    return payload<uint64_t>();
}

int64_t ObjectValue::asNegative() const
{
    require(ObjectType::NegativeInteger, kNotNegative);
    return payload<int64_t>();
}

int64_t ObjectValue::asInt64() const
{
    const auto bits = payload<uint64_t>();
    if (type() == ObjectType::NegativeInteger) {
        if (bits > uint64_t(std::numeric_limits<int64_t>::max()))
            throw std::runtime_error(kOutOfRange);
    } else {
        require(ObjectType::PositiveInteger, kNotInteger);
    }
    return static_cast<int64_t>(bits);
}

bool ObjectValue::asBool() const
{
    require(ObjectType::Bool, kNotBool);
    return payload<uint64_t>() != 0;
}

double ObjectValue::asFloat() const
{
    require(ObjectType::Float, kNotFloat);
    return payload<double>();
}

const char *ObjectValue::asString() const
{
    require(ObjectType::String, kNotString);
    return text();
}

const uint8_t *ObjectValue::blobData() const
{
    require(ObjectType::Blob, kNotBlob);
    return payload<const uint8_t *>();
}

uint32_t ObjectValue::blobSize() const
{
    require(ObjectType::Blob, kNotBlob);
    return size_;
}

OwnedBlob ObjectValue::takeBlob()
{
    require(ObjectType::Blob, kNotBlob);
    OwnedBlob bytes(payload<uint8_t *>());
    setPayload(static_cast<uint8_t *>(nullptr));
    size_ = 0;
    return bytes;
}

uint32_t ObjectValue::size() const
{
    if (!isContainer() && type() != ObjectType::String && type() != ObjectType::Blob)
        throw std::runtime_error(kNoSize);
    return size_;
}

uint32_t ObjectValue::capacity() const
{
    return isContainer() && block() ? block()->capacity : 0;
}

// Arrays and maps

const ObjectValue &ObjectValue::slotAt(uint32_t entry, const char *complaint) const
{
    if (entry >= size_)
        throw std::out_of_range(complaint);
    return slots()[entry * slotsPerEntry()];
}

// A slot for the caller to change.
ObjectValue &ObjectValue::handOut(const ObjectValue &slot)
{
    block()->mayOwn = true;
    return const_cast<ObjectValue &>(slot);
}

const ObjectValue &ObjectValue::arrayAt(uint32_t index) const
{
    require(ObjectType::Array, kNotArray);
    return slotAt(index, kOutOfArray);
}

ObjectValue &ObjectValue::arrayAt(uint32_t index)
{
    return handOut(std::as_const(*this).arrayAt(index));
}

void ObjectValue::arrayAppend(ObjectValue &&value)
{
    require(ObjectType::Array, kNotArray);
    ObjectValue taken(std::move(value));
    *newEntry() = std::move(taken);
}

// The key slot of the first pair with that key, or null.
const ObjectValue *ObjectValue::find(const char *key) const
{
    require(ObjectType::Map, kNotMap);
    const size_t length = std::strlen(key);
    const ObjectValue *const end = slots() + slotCount();
    for (const ObjectValue *slot = slots(); slot != end; slot += 2) {
        if (slot->size_ == length && std::memcmp(slot->text(), key, length) == 0)
            return slot;
    }
    return nullptr;
}

bool ObjectValue::mapContains(const char *key) const
{
    return find(key) != nullptr;
}

int32_t ObjectValue::mapIndexOf(const char *key) const
{
    const ObjectValue *slot = find(key);
    return slot ? static_cast<int32_t>((slot - slots()) / 2) : -1;
}

const ObjectValue &ObjectValue::mapAt(const char *key) const
{
    const ObjectValue *slot = find(key);
    if (!slot)
        throw std::runtime_error(kKeyNotFound);
    return slot[1];
}

ObjectValue &ObjectValue::mapAt(const char *key)
{
    return handOut(std::as_const(*this).mapAt(key));
}

const char *ObjectValue::mapKeyAt(uint32_t index) const
{
    require(ObjectType::Map, kNotMap);
    return slotAt(index, kOutOfMap).text();
}

const ObjectValue &ObjectValue::mapValueAt(uint32_t index) const
{
    require(ObjectType::Map, kNotMap);
    return (&slotAt(index, kOutOfMap))[1];
}

ObjectValue &ObjectValue::mapValueAt(uint32_t index)
{
    return handOut(std::as_const(*this).mapValueAt(index));
}

void ObjectValue::mapAppend(const char *key, ObjectValue &&value)
{
    require(ObjectType::Map, kNotMap);
    // Both may lie in slots of ours, which are about to move.
    ObjectValue ownKey = string(key);
    ObjectValue taken(std::move(value));
    ObjectValue *pair = newEntry();
    pair[0] = std::move(ownKey);
    pair[1] = std::move(taken);
}

// An entry in a container that grows on its own.
ObjectValue *ObjectValue::newEntry()
{
    constexpr uint64_t kMaxEntries = 0xFFFFFFFFu;
    if (size_ == kMaxEntries)
        throw std::length_error("Too many entries.");
    if (size_ == capacity())
        setCapacity(
            static_cast<uint32_t>(std::clamp<uint64_t>(2 * uint64_t(capacity()), 2, kMaxEntries)));
    block()->mayOwn = true;
    return addEntry();
}

// Moves the slots in use to new room for so many entries. A capacity of 0 allocates nothing.
void ObjectValue::setCapacity(uint32_t capacity)
{
    if (capacity == 0)
        return;
    const uint64_t bytes = sizeof(Block) + capacity * slotsPerEntry() * sizeof(ObjectValue);
    Block *former = block();
    Block *room = new (::operator new(static_cast<size_t>(bytes))) Block{};
    if (former) {
        *room = *former;
        std::uninitialized_move_n(former->slots(), slotCount(), room->slots());
        ::operator delete(former);
    }
    room->capacity = capacity;
    setPayload(room);
}

} // namespace tavu
