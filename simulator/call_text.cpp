#include "call_text.h"

#include <algorithm>
#include <cstdio>

namespace simulator {

namespace {

constexpr uint64_t kMostBytesInFull = 16;

std::string hexadecimal(const char *form, uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, form, number);
    return text;
}

/// The count of bytes without the zeros at the end, with which a record is padded to a block.
uint64_t filledBytes(const unsigned char *bytes, uint64_t size)
{
    while (size > 0 && bytes[size - 1] == 0)
        --size;
    return size;
}

} // namespace

std::string spelled(bool flag)
{
    return flag ? "true" : "false";
}

std::string spelled(const char *text)
{
    return std::string("\"") + text + '"';
}

std::string spelled(const Quillon::String &text)
{
    return spelled(text.c_str());
}

std::string spelled(const Content &content)
{
    if (!content.buffer)
        return "none";
    const uint64_t size = content.buffer->size();
    const auto *bytes = static_cast<const unsigned char *>(content.buffer->data());
    if (size > kMostBytesInFull)
        return spelled(*content.buffer) + " (" + std::to_string(filledBytes(bytes, size)) +
               " filled)";
    std::string text = "#";
    for (uint64_t i = 0; i < size; ++i)
        text += hexadecimal("%02X", bytes[i]);
    return text;
}

std::string spelled(const Address &address)
{
    return hexadecimal("0x%X", address.number);
}

std::string spelled(const Numbered &object)
{
    return std::string(object.kind) + ' ' + std::to_string(object.number);
}

std::string spelled(const Common::Buffer &buffer)
{
    return std::to_string(buffer.size()) + " bytes";
}

std::string spelled(const Quillon::ParameterValue &value)
{
    switch (value.tag()) {
    case Quillon::ParameterValue::Tag::Boolean:
        return spelled(value.number() != 0);
    case Quillon::ParameterValue::Tag::Uint32:
        return std::to_string(value.number());
    case Quillon::ParameterValue::Tag::Uint64:
        return std::to_string(value.number()) + 'L';
    }
    return "?";
}

std::string spelled(const Quillon::GrabOptions &options)
{
    return spelled(options.flag) + ' ' + std::to_string(options.value);
}

std::string spelled(const std::optional<uint64_t> &number)
{
    return number ? std::to_string(*number) : "none";
}

std::string spelled(const Quillon::Drive::PhysicalLocation &location)
{
    return "drive " + std::to_string(location.physicalIndex() + 1);
}

std::string spelled(const Quillon::DriveSet::CreateParameters &parameters)
{
    std::string drives;
    for (const Quillon::Drive::PhysicalLocation &location : parameters.source.drives())
        drives += spelled(location) + ", ";
    return spelled(parameters.name) + ", " + std::to_string(parameters.firstSetting) + ", " +
           drives + std::to_string(parameters.secondSetting);
}

} // namespace simulator
