#include "settings_file.h"

#include "host.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace simulator {

namespace {

constexpr char kBlanks[] = " \t\r\f\v";

char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// In lower case, with single blanks.
std::string normalised(const std::string &text)
{
    std::string result;
    std::istringstream words(text);
    for (std::string word; words >> word;)
        result += (result.empty() ? "" : " ") + word;
    std::transform(result.begin(), result.end(), result.begin(), lowered);
    return result;
}

Setting parseLine(const std::string &text, std::string section, unsigned line)
{
    const size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw std::runtime_error("neither \"key = value\" nor \"[section]\"");
    Setting setting{std::move(section), normalised(text.substr(0, equals)),
                    trimmed(text.substr(equals + 1)), line};
    if (setting.key.empty())
        throw std::runtime_error("there is no key before \"=\"");
    return setting;
}

} // namespace

std::string nameOf(const std::filesystem::path &path)
{
    const std::u8string name = path.u8string();
    return std::string(name.begin(), name.end());
}

std::filesystem::path pathOf(const std::string &name)
{
    return reinterpret_cast<const char8_t *>(name.c_str());
}

std::string trimmed(const std::string &text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

uint64_t parseNumber(const std::string &text, uint64_t least, uint64_t most)
{
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && lowered(text[1]) == 'x';
    const char *end = text.data() + text.size();
    uint64_t number = 0;
    const auto [rest, error] =
        std::from_chars(text.data() + (hexadecimal ? 2 : 0), end, number, hexadecimal ? 16 : 10);
    if (rest != end || error == std::errc::invalid_argument)
        throw std::runtime_error("\"" + text + "\" is not a number");
    if (error != std::errc() || number < least || number > most)
        throw std::runtime_error(text + " is not between " + std::to_string(least) + " and " +
                                 std::to_string(most));
    return number;
}

uint32_t parseSmallNumber(const std::string &text, uint32_t least, uint32_t most)
{
    return static_cast<uint32_t>(parseNumber(text, least, most));
}

const std::string &Setting::name() const
{
    if (value.empty())
        throw std::runtime_error("\"" + key + "\" is empty");
    return value;
}

bool Setting::choice(const char *first, const char *second) const
{
    const std::string chosen = normalised(value);
    if (chosen != first && chosen != second)
        throw std::runtime_error("\"" + value + "\" is neither " + first + " nor " + second);
    return chosen == first;
}

uint32_t Setting::number(uint32_t least, uint32_t most) const
{
    return parseSmallNumber(value, least, most);
}

uint64_t Setting::size(uint64_t least, uint64_t most) const
{
    constexpr std::string_view units = "kmg";
    const size_t unit = value.empty() ? units.npos : units.find(lowered(value.back()));
    if (unit == units.npos)
        return parseNumber(value, least, most);
    const size_t shift = 10 * (unit + 1);
    const std::string count = trimmed(value.substr(0, value.size() - 1));
    const uint64_t number = parseNumber(count, 0, most >> shift) << shift;
    if (number < least)
        throw std::runtime_error(value + " is less than " + std::to_string(least));
    return number;
}

double Setting::decimal(double least, double most) const
{
    double number = 0;
    const char *end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, number);
    if (rest != end || error != std::errc() || !(number >= least && number <= most)) {
        std::ostringstream text;
        text << "\"" << value << "\" is not a number between " << least << " and " << most;
        throw std::runtime_error(text.str());
    }
    return number;
}

std::vector<std::pair<unsigned, std::string>> readLines(const std::filesystem::path &file)
{
    const FileText content = readSmallFile(file);
    if (content.state != FileText::State::Read)
        throw std::runtime_error(nameOf(file) + ": can't be read");
    std::vector<std::pair<unsigned, std::string>> lines;
    const std::string byteOrderMark = "\xef\xbb\xbf";
    std::istringstream text(content.text.compare(0, 3, byteOrderMark) == 0 ? content.text.substr(3)
                                                                           : content.text);
    unsigned number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        line = trimmed(line.substr(0, line.find('#')));
        if (!line.empty())
            lines.emplace_back(number, std::move(line));
    }
    return lines;
}

std::vector<Setting> readSettings(const std::filesystem::path &file)
{
    std::vector<Setting> settings;
    std::set<std::pair<std::string, std::string>> seen;
    std::string section;
    for (const auto &[number, line] : readLines(file)) {
        try {
            if (line.front() == '[' && line.back() == ']') {
                section = normalised(line.substr(1, line.size() - 2));
                continue;
            }
            settings.push_back(parseLine(line, section, number));
            if (!seen.emplace(section, settings.back().key).second)
                throw std::runtime_error("\"" + settings.back().key + "\" stands here twice");
        } catch (const std::runtime_error &error) {
            failAt(file, number, error.what());
        }
    }
    return settings;
}

void failAt(const std::filesystem::path &file, unsigned line, const std::string &message)
{
    throw std::runtime_error(nameOf(file) + ":" + std::to_string(line) + ": " + message);
}

} // namespace simulator
