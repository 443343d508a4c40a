#include "errors.h"
#include "hardware/library/common.h"
#include "hardware/library/storage.h"
#include "installation.h"

#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <ratio>

namespace {

/// Memory from the C library, which leaves it untouched until someone writes to it.
void *allocate(uint64_t size)
{
    constexpr uint64_t most = uint64_t(1) << 40;
    void *memory = size <= most && size <= SIZE_MAX ? std::malloc(size ? size : 1) : nullptr;
    if (!memory)
        simulator::raiseError("Out of memory.");
    return memory;
}

/// Null for an empty text, which needs no memory.
char *duplicate(const char *text)
{
    if (!text || !*text)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    return static_cast<char *>(std::memcpy(allocate(size), text, size));
}

} // namespace

namespace Quillon {

void *Object::operator new(std::size_t size)
{
    return allocate(size);
}

void Object::operator delete(void *memory)
{
    std::free(memory);
}

String::String() : text_(nullptr) {}

String::String(const String &other) : text_(duplicate(other.text_)) {}

String::String(const char *text) : text_(duplicate(text)) {}

String::~String()
{
    std::free(text_);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the other operator copies first
String &String::operator=(const String &other)
{
    return *this = other.text_;
}

String &String::operator=(const char *text)
{
    char *copy = duplicate(text); // before the old text goes, as it may be a part of it
    std::free(text_);
    text_ = copy;
    return *this;
}

const char *String::c_str() const
{
    return text_ ? text_ : "";
}

template <typename T>
VectorIterator<T>::VectorIterator(const VectorIterator &other) = default;

template <typename T>
VectorIterator<T> &VectorIterator<T>::operator=(const VectorIterator &other) = default;

template <typename T>
VectorIterator<T>::~VectorIterator() = default;

template <typename T>
const T &VectorIterator<T>::operator*() const
{
    return *position_;
}

template <typename T>
VectorIterator<T> &VectorIterator<T>::operator++()
{
    ++position_;
    return *this;
}

template <typename T>
bool VectorIterator<T>::operator!=(const VectorIterator &other) const
{
    return position_ != other.position_;
}

template <typename T>
Vector<T>::Vector() : elements_(nullptr), size_(0)
{
}

template <typename T>
Vector<T>::Vector(const Vector &other) : elements_(nullptr), size_(0)
{
    *this = other;
}

template <typename T>
Vector<T>::~Vector()
{
    delete[] elements_;
}

template <typename T>
Vector<T> &Vector<T>::operator=(const Vector &other)
{
    if (this == &other)
        return *this;
    T *copy = other.size_ ? new T[std::bit_ceil(other.size_)]() : nullptr;
    for (uint64_t i = 0; i < other.size_; ++i)
        copy[i] = other.elements_[i];
    delete[] elements_;
    elements_ = copy;
    size_ = other.size_;
    return *this;
}

template <typename T>
uint64_t Vector<T>::size() const
{
    return size_;
}

template <typename T>
const T &Vector<T>::operator[](uint64_t index) const
{
    if (index >= size_)
        simulator::raiseError("Index out of range.");
    return elements_[index];
}

template <typename T>
VectorIterator<T> Vector<T>::begin() const
{
    return VectorIterator<T>(elements_);
}

template <typename T>
VectorIterator<T> Vector<T>::end() const
{
    return VectorIterator<T>(elements_ + size_);
}

template <typename T>
void Vector<T>::erase(const VectorIterator<T> &position)
{
    if (size_ == 0 || position.position_ == elements_ + size_)
        simulator::raiseError("Index out of range.");
    for (T *place = position.position_; place + 1 != elements_ + size_; ++place)
        *place = place[1];
    elements_[--size_] = T();
}

template <typename T>
void Vector<T>::append(const T &element)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be one of our elements
    const T copy = element; // and these move
    // The capacity is at least the size rounded up to a power of two.
    if (size_ == 0 || std::has_single_bit(size_)) {
        T *grown = new T[size_ ? 2 * size_ : 1]();
        for (uint64_t i = 0; i < size_; ++i)
            grown[i] = elements_[i];
        delete[] elements_;
        elements_ = grown;
    }
    elements_[size_++] = copy;
}

// Where symbols have a visibility, a list has that of its elements unless it is given one.
#ifdef _WIN32
#define EXPORTED_LIST
#else
#define EXPORTED_LIST QUILLON_API
#endif
template class EXPORTED_LIST VectorIterator<uint32_t>;
template class EXPORTED_LIST Vector<uint32_t>;
template class EXPORTED_LIST VectorIterator<boost::shared_ptr<Drive>>;
template class EXPORTED_LIST Vector<boost::shared_ptr<Drive>>;

} // namespace Quillon

namespace Common {

GeneralException::GeneralException(const char *text) : text_(text) {}

GeneralException::GeneralException(const GeneralException &other) = default;

GeneralException::~GeneralException() = default;

const char *GeneralException::what() const
{
    return text_.c_str();
}

Buffer::Buffer(uint64_t size) : bytes_(static_cast<unsigned char *>(allocate(size))), size_(size) {}

Buffer::~Buffer()
{
    std::free(bytes_);
}

uint64_t Buffer::size() const
{
    return size_;
}

boost::shared_ptr<Buffer> Buffer::create(const void *source, uint64_t size)
{
    boost::shared_ptr<Buffer> buffer(new Buffer(size));
    if (source && size > 0)
        std::memcpy(buffer->data(), source, size);
    return buffer;
}

void *Buffer::data()
{
    return bytes_;
}

void *Buffer::ptr(uint64_t offset)
{
    if (offset > size_)
        simulator::raiseError("Offset out of range.");
    return bytes_ + offset;
}

uint64_t TimestampHelper::universalTime()
{
    if (!simulator::libraryGate().begin("TimestampHelper::universalTime"))
        return 0;
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    constexpr uint64_t until1970 = 116'444'736'000'000'000; // from 1601
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return until1970 + static_cast<uint64_t>(std::chrono::duration_cast<Ticks>(now).count());
}

} // namespace Common
