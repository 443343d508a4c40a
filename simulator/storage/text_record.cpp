#include "storage/text_record.h"

#include "errors.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <system_error>

namespace simulator {

namespace {

/// Keeps a value on one line.
std::string escaped(const std::string &text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\\\";
        else if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else
            result += c;
    }
    return result;
}

std::string unescaped(const std::string &text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const char c = text[++i];
        result += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    return result;
}

[[noreturn]] void raiseDamaged(const char *key)
{
    raiseError(std::string("Damaged description: ") + key + ".");
}

/// Takes a number off the front of \a text.
uint64_t takeNumber(std::string_view &text, const char *key)
{
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        raiseDamaged(key);
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return value;
}

} // namespace

void TextSection::addText(const char *key, const std::string &value)
{
    lines_.emplace_back(key, value);
}

void TextSection::addNumber(const char *key, uint64_t value)
{
    lines_.emplace_back(key, std::to_string(value));
}

void TextSection::addExtents(const char *key, const Extents &extents)
{
    std::string text;
    for (const Extent &extent : extents) {
        text += text.empty() ? "" : " ";
        text += std::to_string(extent.first) + "+" + std::to_string(extent.count);
    }
    lines_.emplace_back(key, text);
}

std::string TextSection::text(const char *key) const
{
    for (const auto &[name, value] : lines_) {
        if (name == key)
            return value;
    }
    raiseDamaged(key);
}

uint64_t TextSection::number(const char *key) const
{
    const std::string value = text(key);
    std::string_view rest = value;
    const uint64_t number = takeNumber(rest, key);
    if (!rest.empty())
        raiseDamaged(key);
    return number;
}

uint32_t TextSection::smallNumber(const char *key) const
{
    const uint64_t value = number(key);
    if (value > std::numeric_limits<uint32_t>::max())
        raiseDamaged(key);
    return static_cast<uint32_t>(value);
}

Extents TextSection::extents(const char *key) const
{
    const std::string value = text(key);
    std::string_view rest = value;
    Extents extents;
    while (!rest.empty()) {
        Extent extent;
        extent.first = takeNumber(rest, key);
        if (!rest.starts_with('+'))
            raiseDamaged(key);
        rest.remove_prefix(1);
        extent.count = takeNumber(rest, key);
        extents.push_back(extent);
        if (rest.starts_with(' '))
            rest.remove_prefix(1);
    }
    return extents;
}

std::string formatSections(const std::vector<TextSection> &sections)
{
    std::string text;
    for (const TextSection &section : sections) {
        if (!section.title.empty())
            text += "\n[" + section.title + "]\n";
        for (const auto &[key, value] : section.lines_)
            text += key + " = " + escaped(value) + "\n";
    }
    return text;
}

std::vector<TextSection> parseSections(const std::string &text)
{
    std::vector<TextSection> sections(1);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const size_t separator = line.find(" =");
        if (line.starts_with('[') && line.ends_with(']'))
            sections.emplace_back().title = line.substr(1, line.size() - 2);
        else if (separator != line.npos)
            sections.back().lines_.emplace_back(
                line.substr(0, separator),
                unescaped(line.substr(std::min(separator + 3, line.size()))));
    }
    return sections;
}

} // namespace simulator
