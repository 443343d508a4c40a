#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace tavu {

/// The tag of a value. The numbers are fixed: MessageReader::lastType() reports the same ones.
enum class ObjectType : uint32_t
{
    Nil = 0,
    NegativeInteger = 1,
    PositiveInteger = 2,
    String = 3,
    Bool = 4,
    Float = 5,
    Blob = 6,
    Map = 7,
    Array = 8,
};

/// The length argument that means "NUL-terminated, to be counted".
inline constexpr uint32_t kCountedLength = 0xFFFFFFFFu;

/// Frees a blob's bytes.
struct BlobDeleter
{
    void operator()(uint8_t *bytes) const;
};
using OwnedBlob = std::unique_ptr<uint8_t[], BlobDeleter>;

/// A dynamic value that owns the whole tree below it. A map is an ordered list of pairs with text
/// keys; duplicates are kept and the first one counts. Raises std::runtime_error on a wrong tag and
/// std::out_of_range on a bad index; the texts reach clients.
///
/// No operation recurses: a tree may be as deep as memory allows. Destroying a tree allocates
/// nothing. Text pointers (asString(), mapKeyAt()) are good as long as the value, or the map, stays
/// where it is unchanged: short text lies in the value itself and moves along with it.
class alignas(uint64_t) ObjectValue
{
public:
    ObjectValue() noexcept : ObjectValue(ObjectType::Nil, 0, uint64_t(0)) {} ///< nil

    /// The sign isn't checked.
    static ObjectValue negative(int64_t value);
    static ObjectValue positive(uint64_t value);
    static ObjectValue boolean(bool value);
    static ObjectValue number(double value);
    /// Copies the text.
    static ObjectValue string(const char *text, uint32_t length = kCountedLength);
    static ObjectValue string(const std::string &text);
    /// Copies the bytes.
    static ObjectValue blob(const void *bytes, uint32_t size);
    /// Adopts a buffer from allocateBlob().
    static ObjectValue blob(OwnedBlob bytes, uint32_t size);
    /// Empty, with room for \a capacity entries.
    static ObjectValue map(uint32_t capacity = 0);
    static ObjectValue array(uint32_t capacity = 0);

    /// A buffer that a blob can adopt; its bytes are not cleared. Raises std::bad_alloc.
    static OwnedBlob allocateBlob(uint32_t size);

    /// Copies are deep and have no spare capacity. Text is copied up to its first NUL; the size
    /// stays, and the bytes that it counts behind that NUL are zero in the copy.
    ObjectValue(const ObjectValue &other);
    ObjectValue &operator=(const ObjectValue &other);
    /// Moves leave the source nil.
    ObjectValue(ObjectValue &&other) noexcept { steal(other); }
    ObjectValue &operator=(ObjectValue &&other) noexcept;
    ~ObjectValue()
    {
        if (ownsMemory())
            release();
    }

    ObjectType type() const { return static_cast<ObjectType>(tag_); }
    /// Positive integers only: a negative one doesn't pass, however small.
    uint64_t asPositive() const;
    int64_t asNegative() const;
    /// Takes both integer tags, but raises on a value that is really negative and wraps a positive
    /// one above the signed range. Prefer asPositive() and asNegative().
    int64_t asInt64() const;
    bool asBool() const;
    double asFloat() const;
    const char *asString() const;
    /// Not to be read when blobSize() is 0.
    const uint8_t *blobData() const;
    uint32_t blobSize() const;
    /// Hands the bytes over; the value stays a blob, of size 0 and with no bytes.
    OwnedBlob takeBlob();
    /// Bytes of a string (without its terminator) or blob, pairs of a map, elements of an array.
    uint32_t size() const;
    /// Entries that a map or array has room for; 0 for any other value.
    uint32_t capacity() const;

    const ObjectValue &arrayAt(uint32_t index) const;
    ObjectValue &arrayAt(uint32_t index);
    void arrayAppend(ObjectValue &&value);

    bool mapContains(const char *key) const;
    /// Index of the first pair with that key, or -1.
    int32_t mapIndexOf(const char *key) const;
    /// Value of the first pair with that key; raises when there is none.
    const ObjectValue &mapAt(const char *key) const;
    ObjectValue &mapAt(const char *key);
    const char *mapKeyAt(uint32_t index) const;
    const ObjectValue &mapValueAt(uint32_t index) const;
    ObjectValue &mapValueAt(uint32_t index);
    /// Copies the key; a pair with the same key may be there already.
    void mapAppend(const char *key, ObjectValue &&value);

private:
    friend class MessageReader;
    friend class MessageWriter;

    // What a map or array owns: this head and, behind it, the slots, of which only those in use are
    // constructed. A map's pair is two slots, the key (always a string) and the value, so that a
    // walk over a tree needs no distinction.
    struct Block
    {
        ObjectValue *parent; // while decoding or destroying: the container around this one
        uint64_t pending;    // while decoding: entries to come; while destroying: slots to go
        uint32_t capacity;   // in entries
        bool mayOwn;         // whether any slot may own memory; if none does, freeing is quick

        ObjectValue *slots() { return reinterpret_cast<ObjectValue *>(this + 1); }
    };

    // Text of up to this length lies in the value; it is enough for the keys of all our messages.
    static constexpr uint32_t kMaxShortText = 18;

    template <typename Payload>
    ObjectValue(ObjectType tag, uint32_t size, Payload payload) noexcept
    {
        set(tag, size, payload);
    }

    // Short text, where kMaxShortText bytes can be read: a copy of fixed size costs less.
    ObjectValue(const char *text, uint32_t length) noexcept
        : size_(length), tag_(static_cast<uint8_t>(ObjectType::String))
    {
        std::memcpy(storage_, text, kMaxShortText);
        storage_[length] = '\0';
    }

    using PayloadBytes = std::array<char, 8>;

    // The eight bytes behind tag_ hold a number or a pointer, and are part of short text too.
    template <typename Payload>
    Payload payload() const
    {
        Payload result;
        std::memcpy(&result, storage_ + kPayloadOffset, sizeof(PayloadBytes));
        return result;
    }
    template <typename Payload>
    void setPayload(Payload payload)
    {
        const auto bytes = std::bit_cast<PayloadBytes>(payload);
        std::memcpy(storage_ + kPayloadOffset, bytes.data(), sizeof bytes);
    }

    bool isContainer() const { return tag_ >= static_cast<uint8_t>(ObjectType::Map); }
    bool isLongText() const
    {
        return tag_ == static_cast<uint8_t>(ObjectType::String) && size_ > kMaxShortText;
    }
    bool ownsMemory() const
    {
        return tag_ >= static_cast<uint8_t>(ObjectType::Blob) || isLongText();
    }
    const char *text() const { return isLongText() ? payload<const char *>() : storage_; }
    Block *block() const { return payload<Block *>(); }
    ObjectValue *slots() const { return size_ ? block()->slots() : nullptr; }
    uint64_t slotsPerEntry() const { return tag_ == static_cast<uint8_t>(ObjectType::Map) ? 2 : 1; }
    uint64_t slotCount() const { return isContainer() ? size_ * slotsPerEntry() : 0; }

    void require(ObjectType tag, const char *complaint) const;
    const ObjectValue &slotAt(uint32_t entry, const char *complaint) const;
    ObjectValue &handOut(const ObjectValue &slot);
    const ObjectValue *find(const char *key) const;

    // Each makes a nil value something else.
    template <typename Payload>
    void set(ObjectType tag, uint32_t size, Payload payload)
    {
        size_ = size;
        tag_ = static_cast<uint8_t>(tag);
        setPayload(payload);
    }
    void setText(const char *text, uint32_t length);
    void setCapacity(uint32_t capacity);
    ObjectValue *addEntry();
    ObjectValue *newEntry();
    bool copyWithoutEntries(const ObjectValue &other);
    void steal(ObjectValue &other) noexcept;
    void release() noexcept;
    void releaseTree() noexcept;

    uint32_t size_;
    uint8_t tag_;
    char storage_[19];

    static constexpr uint32_t kPayloadOffset = 3;
};

// Appends an entry, for which there must be room, with nil in its slots; returns the first of them.
inline ObjectValue *ObjectValue::addEntry()
{
    ObjectValue *entry = block()->slots() + slotCount();
    std::uninitialized_default_construct_n(entry, slotsPerEntry());
    ++size_;
    return entry;
}

// Onto a value that owns nothing.
inline void ObjectValue::steal(ObjectValue &other) noexcept
{
    size_ = other.size_;
    tag_ = other.tag_;
    std::memcpy(storage_, other.storage_, sizeof storage_);
    other.size_ = 0;
    other.tag_ = static_cast<uint8_t>(ObjectType::Nil);
}

} // namespace tavu
