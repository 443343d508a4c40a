#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

/// The path as UTF-8, for messages.
std::string nameOf(const std::filesystem::path &path);
/// The path whose name in UTF-8 is \a name.
std::filesystem::path pathOf(const std::string &name);

/// The text without the blanks around it.
std::string trimmed(const std::string &text);

/// A number, decimal or hexadecimal behind 0x. Raises std::runtime_error when \a text is something
/// else, or out of range.
uint64_t parseNumber(const std::string &text, uint64_t least, uint64_t most);
uint32_t parseSmallNumber(const std::string &text, uint32_t least = 0, uint32_t most = UINT32_MAX);

/// A line "key = value" of a file. The conversions raise std::runtime_error.
struct Setting
{
    std::string section; ///< in lower case; empty before the first one
    std::string key;     ///< in lower case, with single blanks
    std::string value;
    unsigned line = 0; ///< from 1

    const std::string &text() const { return value; }
    /// text(), which may not be empty.
    const std::string &name() const;
    bool yesOrNo() const { return choice("yes", "no"); }
    /// True for \a first.
    bool choice(const char *first, const char *second) const;
    uint32_t number(uint32_t least = 0, uint32_t most = UINT32_MAX) const;
    /// A number with K, M or G behind it or without.
    uint64_t size(uint64_t least, uint64_t most) const;
    double decimal(double least, double most) const;
};

/// The lines of a file without comments, each with its number; empty ones are left out. Raises
/// std::runtime_error when it can't be read.
std::vector<std::pair<unsigned, std::string>> readLines(const std::filesystem::path &file);

/// The settings of a file. Raises std::runtime_error that names file and line.
std::vector<Setting> readSettings(const std::filesystem::path &file);

/// Raises std::runtime_error that names file and line.
[[noreturn]] void failAt(const std::filesystem::path &file, unsigned line,
                         const std::string &message);

} // namespace simulator
