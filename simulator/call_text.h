#pragma once

#include "hardware/library/device.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace simulator {

// How arguments stand in the call log.

/// A buffer whose bytes the program hands over. Of a buffer to be filled the log tells the size.
struct Content
{
    const boost::shared_ptr<Common::Buffer> &buffer;
};

/// An address of camera memory.
struct Address
{
    uint32_t number;
};

/// A numbered object, for example file 12.
struct Numbered
{
    const char *kind;
    uint32_t number;
};

std::string spelled(bool flag);
std::string spelled(const char *text);
std::string spelled(const Quillon::String &text);
std::string spelled(const Content &content);
std::string spelled(const Address &address);
std::string spelled(const Numbered &object);
std::string spelled(const Common::Buffer &buffer);
std::string spelled(const Quillon::ParameterValue &value);
std::string spelled(const Quillon::GrabOptions &options);
std::string spelled(const std::optional<uint64_t> &number);
std::string spelled(const Quillon::Drive::PhysicalLocation &location);
std::string spelled(const Quillon::DriveSet::CreateParameters &parameters);
std::string spelled(const Quillon::Port &port);
std::string spelled(const Quillon::DriveSet &set);
std::string spelled(const Quillon::TriggerElement &element);
std::string spelled(const Quillon::DataDescriptor &descriptor);

template <std::integral Number>
std::string spelled(Number number)
{
    return std::to_string(number);
}

template <typename Object>
std::string spelled(const boost::shared_ptr<Object> &handle)
{
    return handle ? spelled(*handle) : "none";
}

} // namespace simulator
