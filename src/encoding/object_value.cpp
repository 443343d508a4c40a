#include "encoding/object_value.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace tavu {

namespace {

constexpr const char *kNotArray = "Object is not an array.";
constexpr const char *kNotMap = "Object is not a map.";

void *allocate(size_t byteCount)
{
    // One byte more than nothing, so that null always means a failure.
    void *memory = std::malloc(byteCount > 0 ? byteCount : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

} // namespace

/// The slots of a map or an array, behind what their owner needs to know of them. A map has two
/// slots for each pair: the key, which is a string value, and the value.
struct ObjectValue::Block
{
    Block *next;       ///< of the blocks that wait to be released
    uint64_t count;    ///< values in a block that waits
    uint32_t capacity; ///< entries

    ObjectValue *slots() { return reinterpret_cast<ObjectValue *>(this + 1); }

    static Block *create(uint32_t capacity, uint32_t slotsPerEntry)
    {
        const size_t bytes = size_t(capacity) * slotsPerEntry * sizeof(ObjectValue);
        auto *block = static_cast<Block *>(allocate(sizeof(Block) + bytes));
        block->capacity = capacity;
        return block;
    }
};

void BlobDeleter::operator()(uint8_t *bytes) const
{
    std::free(bytes);
}

ObjectValue::ObjectValue() noexcept = default;

ObjectValue ObjectValue::negative(int64_t value)
{
    ObjectValue result(ObjectType::NegativeInteger, 0);
    result.held_.negative = value;
    return result;
}

ObjectValue ObjectValue::positive(uint64_t value)
{
    ObjectValue result(ObjectType::PositiveInteger, 0);
    result.held_.positive = value;
    return result;
}

ObjectValue ObjectValue::boolean(bool value)
{
    ObjectValue result(ObjectType::Bool, 0);
    result.held_.boolean = value;
    return result;
}

ObjectValue ObjectValue::number(double value)
{
    ObjectValue result(ObjectType::Float, 0);
    result.held_.number = value;
    return result;
}

ObjectValue ObjectValue::string(const char *text, uint32_t length)
{
    if (length == kCountedLength)
        length = static_cast<uint32_t>(std::strlen(text));
    ObjectValue result;
    char *target = result.held_.inlineText;
    if (length >= kInlineText)
        target = result.held_.text = static_cast<char *>(allocate(size_t(length) + 1));
    if (length > 0)
        std::memcpy(target, text, length);
    target[length] = '\0';
    result.tag_ = ObjectType::String;
    result.size_ = length;
    return result;
}

ObjectValue ObjectValue::string(const std::string &text)
{
    return string(text.data(), static_cast<uint32_t>(text.size()));
}

ObjectValue ObjectValue::blob(const void *bytes, uint32_t size)
{
    OwnedBlob copy = allocateBlob(size);
    if (size > 0)
        std::memcpy(copy.get(), bytes, size);
    return blob(std::move(copy), size);
}

ObjectValue ObjectValue::blob(OwnedBlob bytes, uint32_t size)
{
    ObjectValue result(ObjectType::Blob, size);
    result.held_.bytes = bytes.release();
    return result;
}

ObjectValue ObjectValue::map(uint32_t capacity)
{
    ObjectValue result(ObjectType::Map, 0);
    result.reserve(capacity);
    return result;
}

ObjectValue ObjectValue::array(uint32_t capacity)
{
    ObjectValue result(ObjectType::Array, 0);
    result.reserve(capacity);
    return result;
}

OwnedBlob ObjectValue::allocateBlob(uint32_t size)
{
    return OwnedBlob(static_cast<uint8_t *>(allocate(size)));
}

ObjectValue::ObjectValue(const ObjectValue &other)
{
    copyFrom(other);
}

ObjectValue &ObjectValue::operator=(const ObjectValue &other)
{
    if (this != &other)
        *this = ObjectValue(other);
    return *this;
}

ObjectValue::ObjectValue(ObjectValue &&other) noexcept
    : held_(other.held_), tag_(std::exchange(other.tag_, ObjectType::Nil)),
      size_(std::exchange(other.size_, 0))
{
}

ObjectValue &ObjectValue::operator=(ObjectValue &&other) noexcept
{
    if (this != &other) {
        // The source may stand inside the tree that we let go.
        ObjectValue old(std::move(*this));
        held_ = other.held_;
        tag_ = std::exchange(other.tag_, ObjectType::Nil);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

ObjectValue::~ObjectValue()
{
    release();
}

ObjectType ObjectValue::type() const
{
    return tag_;
}

void ObjectValue::require(ObjectType tag, const char *text) const
{
    if (tag_ != tag)
        throw std::runtime_error(text);
}

uint64_t ObjectValue::asPositive() const
{
    require(ObjectType::PositiveInteger,
            "Object type is not positive integer, but positive integer expected.");
    return held_.positive;
}

int64_t ObjectValue::asNegative() const
{
    require(ObjectType::NegativeInteger,
            "Object type is not negative integer, but negative integer expected.");
    return held_.negative;
}

int64_t ObjectValue::asInt64() const
{
    if (tag_ == ObjectType::PositiveInteger)
        return static_cast<int64_t>(held_.positive);
    require(ObjectType::NegativeInteger,
            "Object type is not an integer, but an integer was expected.");
    // The range test stands on the negative side: every value that is really negative fails it.
    if (held_.positive > 0x7FFFFFFFFFFFFFFFull)
        throw std::runtime_error("Integer value out of range, expected int64_t.");
    return held_.negative;
}

bool ObjectValue::asBool() const
{
    require(ObjectType::Bool, "Object type is not bool, but bool expected.");
    return held_.boolean;
}

double ObjectValue::asFloat() const
{
    require(ObjectType::Float, "Object type is not float, but float expected.");
    return held_.number;
}

const char *ObjectValue::asString() const
{
    require(ObjectType::String, "Object type is not string, but string expected.");
    return text();
}

const uint8_t *ObjectValue::blobData() const
{
    require(ObjectType::Blob, "Object type is not blob, but blob expected.");
    return held_.bytes;
}

uint32_t ObjectValue::blobSize() const
{
    require(ObjectType::Blob, "Object type is not blob, but blob expected.");
    return size_;
}

OwnedBlob ObjectValue::takeBlob()
{
    require(ObjectType::Blob, "Object type is not blob, but blob expected.");
    size_ = 0;
    return OwnedBlob(std::exchange(held_.bytes, nullptr));
}

uint32_t ObjectValue::size() const
{
    if (!isContainer() && tag_ != ObjectType::String && tag_ != ObjectType::Blob)
        throw std::runtime_error("Object does not have size, array/map/string/blob expected.");
    return size_;
}

ObjectValue *ObjectValue::slots() const
{
    return held_.block ? held_.block->slots() : nullptr;
}

const ObjectValue &ObjectValue::arrayAt(uint32_t index) const
{
    return const_cast<ObjectValue *>(this)->arrayAt(index);
}

ObjectValue &ObjectValue::arrayAt(uint32_t index)
{
    require(ObjectType::Array, kNotArray);
    if (index >= size_)
        throw std::out_of_range("Index out of array range.");
    return slots()[index];
}

void ObjectValue::arrayAppend(ObjectValue &&value)
{
    require(ObjectType::Array, kNotArray);
    *appendEntry() = std::move(value);
}

bool ObjectValue::mapContains(const char *key) const
{
    return mapIndexOf(key) >= 0;
}

int32_t ObjectValue::mapIndexOf(const char *key) const
{
    require(ObjectType::Map, kNotMap);
    const ObjectValue *pair = slots();
    for (uint32_t i = 0; i < size_; ++i, pair += 2) {
        if (std::strcmp(pair->text(), key) == 0)
            return static_cast<int32_t>(i);
    }
    return -1;
}

const ObjectValue &ObjectValue::mapAt(const char *key) const
{
    return const_cast<ObjectValue *>(this)->mapAt(key);
}

ObjectValue &ObjectValue::mapAt(const char *key)
{
    const int32_t index = mapIndexOf(key);
    if (index < 0)
        throw std::runtime_error("Key not found in map.");
    return slots()[2 * size_t(static_cast<uint32_t>(index)) + 1];
}

ObjectValue &ObjectValue::mapSlot(uint32_t index) const
{
    require(ObjectType::Map, kNotMap);
    if (index >= size_)
        throw std::out_of_range("Index out of map range.");
    return slots()[2 * size_t(index)];
}

const char *ObjectValue::mapKeyAt(uint32_t index) const
{
    return mapSlot(index).text();
}

const ObjectValue &ObjectValue::mapValueAt(uint32_t index) const
{
    return (&mapSlot(index))[1];
}

ObjectValue &ObjectValue::mapValueAt(uint32_t index)
{
    return (&mapSlot(index))[1];
}

void ObjectValue::mapAppend(const char *key, ObjectValue &&value)
{
    require(ObjectType::Map, kNotMap);
    ObjectValue keyValue = string(key);
    ObjectValue *pair = appendEntry();
    pair[0] = std::move(keyValue);
    pair[1] = std::move(value);
}

/// Sets the capacity of a container that has none yet, or moves it to a larger block.
void ObjectValue::reserve(uint32_t capacity)
{
    if (capacity == 0)
        return;
    Block *block = Block::create(capacity, slotsPerEntry());
    if (Block *old = held_.block) {
        // A value is moved by moving its bytes: nothing points at itself.
        std::memcpy(static_cast<void *>(block->slots()), static_cast<void *>(old->slots()),
                    size_t(slotCount()) * sizeof(ObjectValue));
        std::free(old);
    }
    held_.block = block;
}

ObjectValue *ObjectValue::appendEntry()
{
    const uint32_t capacity = held_.block ? held_.block->capacity : 0;
    if (size_ == 0xFFFFFFFFu)
        throw std::bad_alloc();
    if (size_ >= capacity)
        reserve(capacity < 2 ? 2 : capacity < 0x80000000u ? capacity * 2 : 0xFFFFFFFFu);
    ObjectValue *entry = slots() + slotCount();
    for (uint32_t i = 0; i < slotsPerEntry(); ++i)
        new (entry + i) ObjectValue();
    ++size_;
    return entry;
}

void ObjectValue::cutAtNul()
{
    const size_t used = std::strlen(text());
    if (used == size_)
        return;
    ObjectValue cut = string(text(), static_cast<uint32_t>(used));
    *this = std::move(cut);
}

/// Copies the tree below \a other into this nil value.
void ObjectValue::copyFrom(const ObjectValue &other)
{
    std::vector<std::pair<const ObjectValue *, ObjectValue *>> pending;
    const ObjectValue *source = &other;
    ObjectValue *target = this;
    try {
        for (;;) {
            target->copyShallow(*source);
            for (uint64_t i = 0; source->isContainer() && i < source->slotCount(); ++i)
                pending.emplace_back(source->slots() + i, target->slots() + i);
            if (pending.empty())
                return;
            std::tie(source, target) = pending.back();
            pending.pop_back();
        }
    } catch (...) {
        release();
        throw;
    }
}

/// Copies one value; the entries of a container are nil, for the caller to fill.
void ObjectValue::copyShallow(const ObjectValue &other)
{
    if (other.isContainer()) {
        ObjectValue empty(other.tag_, 0);
        empty.reserve(other.size_);
        while (empty.size_ < other.size_)
            empty.appendEntry();
        *this = std::move(empty);
    } else if (other.tag_ == ObjectType::Blob) {
        *this = blob(other.held_.bytes, other.size_);
    } else if (other.tag_ == ObjectType::String) {
        // The copy ends at the first NUL; what follows is zero, up to the same size.
        const size_t used = std::strlen(other.text());
        char *target = held_.inlineText;
        if (other.size_ >= kInlineText)
            target = held_.text = static_cast<char *>(allocate(size_t(other.size_) + 1));
        std::memcpy(target, other.text(), used);
        std::memset(target + used, 0, size_t(other.size_) + 1 - used);
        tag_ = ObjectType::String;
        size_ = other.size_;
    } else {
        held_ = other.held_;
        tag_ = other.tag_;
    }
}

void ObjectValue::release() noexcept
{
    if (ownsBytes()) {
        std::free(held_.bytes);
    } else if (isContainer() && held_.block) {
        held_.block->next = nullptr;
        held_.block->count = slotCount();
        releaseTree(held_.block);
    }
    tag_ = ObjectType::Nil;
    size_ = 0;
    held_ = {};
}

/// Frees a block and all below it. The blocks that wait are linked through themselves, so that a
/// tree of any depth goes with neither stack nor memory.
void ObjectValue::releaseTree(Block *block) noexcept
{
    while (block) {
        Block *pending = block->next;
        ObjectValue *value = block->slots();
        for (uint64_t i = 0; i < block->count; ++i, ++value) {
            if (value->ownsBytes()) {
                std::free(value->held_.bytes);
            } else if (value->isContainer() && value->held_.block) {
                Block *child = value->held_.block;
                child->count = value->slotCount();
                child->next = pending;
                pending = child;
            }
        }
        std::free(block);
        block = pending;
    }
}

} // namespace tavu
