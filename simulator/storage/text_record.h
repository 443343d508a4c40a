#pragma once

#include "storage/stripe_allocator.h"

#include <cstdint>
#include <string>
#include <utility>

namespace simulator {

/// A run of "key = value" lines, in a text that the library writes for itself. The operations that
/// take something out raise Common::GeneralException when it isn't there or is damaged.
class TextSection
{
public:
    std::string title; ///< empty for the first one

    void addText(const char *key, const std::string &value);
    void addNumber(const char *key, uint64_t value);
    void addExtents(const char *key, const Extents &extents);

    std::string text(const char *key) const;
    uint64_t number(const char *key) const;
    /// A number of 32 bits at most.
    uint32_t smallNumber(const char *key) const;
    Extents extents(const char *key) const;

private:
    friend std::string formatSections(const std::vector<TextSection> &sections);
    friend std::vector<TextSection> parseSections(const std::string &text);

    std::vector<std::pair<std::string, std::string>> lines_;
};

std::string formatSections(const std::vector<TextSection> &sections);
/// The first section has no title and is always there.
std::vector<TextSection> parseSections(const std::string &text);

} // namespace simulator
