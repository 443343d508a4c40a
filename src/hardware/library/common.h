#pragma once

#include "hardware/library/containers.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>

namespace Common {

/// What every operation of the library raises when it fails. Not a std::exception.
class GeneralException
{
public:
    QUILLON_API explicit GeneralException(const char *text);
    QUILLON_API GeneralException(const GeneralException &other);
    QUILLON_API ~GeneralException();
    GeneralException &operator=(const GeneralException &) = delete;

    QUILLON_API const char *what() const;

private:
    Quillon::String text_;
};

/// A block of bytes.
class Buffer : public Quillon::Object
{
public:
    /// The bytes are left unset.
    QUILLON_API explicit Buffer(std::uint64_t size);
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    QUILLON_API virtual ~Buffer();

    QUILLON_API virtual std::uint64_t size() const;

    /// A null \a source leaves the bytes unset.
    QUILLON_API static boost::shared_ptr<Buffer> create(const void *source, std::uint64_t size);

    QUILLON_API void *data();
    QUILLON_API void *ptr(std::uint64_t offset);

private:
    unsigned char *bytes_;
    std::uint64_t size_;
};

/// The form of a frame.
class DataType
{
public:
    QUILLON_API std::uint32_t bitDepth() const;
    QUILLON_API std::uint32_t width() const;
    QUILLON_API std::uint32_t height() const;
    QUILLON_API static std::uint32_t width(const boost::shared_ptr<DataType> &type);
    QUILLON_API static std::uint32_t height(const boost::shared_ptr<DataType> &type);

protected:
    ~DataType() = default;
};

/// One picture.
class Frame
{
public:
    QUILLON_API boost::shared_ptr<DataType> dataType() const;
    QUILLON_API boost::shared_ptr<Buffer> buffer() const;

protected:
    ~Frame() = default;
};

/// The library's clock.
class TimestampHelper
{
public:
    QUILLON_API static std::uint64_t universalTime();
};

} // namespace Common
