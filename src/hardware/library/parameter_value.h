#pragma once

#include <cstdint>

namespace Quillon {

/// A tagged value.
class ParameterValue
{
public:
    enum class Tag : std::uint32_t
    {
        Boolean = 0,
        Uint32 = 2,
        Uint64 = 3,
    };

    static ParameterValue boolean(bool value) { return {Tag::Boolean, value}; }
    static ParameterValue uint32(std::uint32_t value) { return {Tag::Uint32, value}; }
    static ParameterValue uint64(std::uint64_t value) { return {Tag::Uint64, value}; }

    ParameterValue() = default;

    Tag tag() const { return tag_; }
    /// A boolean counts as 0 or 1.
    std::uint64_t number() const { return number_; }

private:
    ParameterValue(Tag tag, std::uint64_t number) : tag_(tag), number_(number) {}

    Tag tag_ = Tag::Uint32;
    std::uint64_t number_ = 0;
};

} // namespace Quillon
