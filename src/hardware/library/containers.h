#pragma once

#include "hardware/library/export.h"

#include <cstddef>
#include <cstdint>
#include <set>

namespace Quillon {

/// Base of the objects that come from the library's own allocator.
class Object
{
public:
    QUILLON_API static void *operator new(std::size_t size);
    QUILLON_API static void operator delete(void *memory);
};

/// A text that owns its characters.
class String
{
public:
    QUILLON_API String();
    QUILLON_API String(const String &other);
    QUILLON_API String(const char *text);
    QUILLON_API ~String();
    QUILLON_API String &operator=(const String &other);
    QUILLON_API String &operator=(const char *text);

    QUILLON_API const char *c_str() const;

private:
    char *text_;
};

template <typename T>
class Vector;

/// A position in a Vector, invalid once the vector changes.
template <typename T>
class VectorIterator
{
public:
    QUILLON_API VectorIterator(const VectorIterator &other);
    QUILLON_API VectorIterator &operator=(const VectorIterator &other);
    QUILLON_API ~VectorIterator();

    QUILLON_API const T &operator*() const;
    QUILLON_API VectorIterator &operator++();
    QUILLON_API bool operator!=(const VectorIterator &other) const;

private:
    friend class Vector<T>;

    explicit VectorIterator(T *position) : position_(position) {}

    T *position_;
};

/// A growing list that owns its elements.
template <typename T>
class Vector
{
public:
    QUILLON_API Vector();
    QUILLON_API Vector(const Vector &other);
    QUILLON_API ~Vector();
    QUILLON_API Vector &operator=(const Vector &other);

    QUILLON_API std::uint64_t size() const;
    /// Raises Common::GeneralException for an index that isn't there.
    QUILLON_API const T &operator[](std::uint64_t index) const;
    QUILLON_API VectorIterator<T> begin() const;
    QUILLON_API VectorIterator<T> end() const;
    QUILLON_API void erase(const VectorIterator<T> &position);
    QUILLON_API void append(const T &element);

private:
    T *elements_;
    std::uint64_t size_;
};

/// A set ordered by its elements.
template <typename T>
using Set = std::set<T>;

} // namespace Quillon
