#pragma once

#include <cstdint>
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
/// std::out_of_range on a bad index; the texts reach clients. Pointers and references that it hands
/// out live as long as the value stays where it is. Nothing here recurses into the tree.
class ObjectValue
{
public:
    ObjectValue() noexcept; ///< nil

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
    static ObjectValue map(uint32_t capacity = 0);
    static ObjectValue array(uint32_t capacity = 0);

    /// A buffer that a blob can adopt; its bytes are not cleared. Raises std::bad_alloc.
    static OwnedBlob allocateBlob(uint32_t size);

    ObjectValue(const ObjectValue &other);
    ObjectValue &operator=(const ObjectValue &other);
    ObjectValue(ObjectValue &&other) noexcept;
    ObjectValue &operator=(ObjectValue &&other) noexcept;
    ~ObjectValue();

    ObjectType type() const;
    uint64_t asPositive() const;
    int64_t asNegative() const;
    int64_t asInt64() const;
    bool asBool() const;
    double asFloat() const;
    const char *asString() const;
    const uint8_t *blobData() const;
    uint32_t blobSize() const;
    OwnedBlob takeBlob();
    uint32_t size() const;

    const ObjectValue &arrayAt(uint32_t index) const;
    ObjectValue &arrayAt(uint32_t index);
    void arrayAppend(ObjectValue &&value);

    bool mapContains(const char *key) const;
    int32_t mapIndexOf(const char *key) const;
    const ObjectValue &mapAt(const char *key) const;
    ObjectValue &mapAt(const char *key);
    const char *mapKeyAt(uint32_t index) const;
    const ObjectValue &mapValueAt(uint32_t index) const;
    ObjectValue &mapValueAt(uint32_t index);
    void mapAppend(const char *key, ObjectValue &&value);

private:
    friend class MessageReader;
    friend class MessageWriter;

    struct Block;

    /// Text shorter than this stands in the value itself.
    static constexpr uint32_t kInlineText = 16;

    ObjectValue(ObjectType tag, uint32_t size) noexcept : tag_(tag), size_(size) {}

    bool isContainer() const { return tag_ == ObjectType::Map || tag_ == ObjectType::Array; }
    bool ownsBytes() const
    {
        return tag_ == ObjectType::Blob || (tag_ == ObjectType::String && size_ >= kInlineText);
    }
    /// The values directly below: elements, or keys and values in turn.
    uint32_t slotsPerEntry() const { return tag_ == ObjectType::Map ? 2 : 1; }
    uint64_t slotCount() const { return uint64_t(size_) * slotsPerEntry(); }
    ObjectValue *slots() const;
    const char *text() const { return size_ < kInlineText ? held_.inlineText : held_.text; }

    void require(ObjectType tag, const char *text) const;
    ObjectValue &mapSlot(uint32_t index) const;
    void reserve(uint32_t capacity);
    /// Makes room for one more entry and returns its slots, which are nil.
    ObjectValue *appendEntry();
    /// A key ends at its first NUL.
    void cutAtNul();
    void copyFrom(const ObjectValue &other);
    void copyShallow(const ObjectValue &other);
    void release() noexcept;
    static void releaseTree(Block *block) noexcept;

    union Held {
        int64_t negative;
        uint64_t positive;
        double number;
        bool boolean;
        uint8_t *bytes;
        char *text;
        Block *block;
        char inlineText[kInlineText];
    };

    Held held_{};
    ObjectType tag_ = ObjectType::Nil;
    uint32_t size_ = 0; ///< bytes, pairs or elements
};

} // namespace tavu
