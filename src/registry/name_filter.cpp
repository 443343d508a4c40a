#include "registry/name_filter.h"

#include <cctype>
#include <string_view>
#include <vector>

namespace tavu {

namespace {

char lowerCase(char character)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}

/// A place in a pattern between two of its characters other than "*".
struct Position
{
    char next = 0;     ///< the character that leads to the following position; 0 at the end
    bool star = false; ///< any run of characters may pass here
};

std::vector<Position> compile(std::string_view pattern)
{
    std::vector<Position> positions(1);
    for (const char character : pattern) {
        if (character == '*') {
            positions.back().star = true;
        } else {
            positions.back().next = lowerCase(character);
            positions.emplace_back();
        }
    }
    return positions;
}

// All positions that the name so far can have led to are followed side by side. That costs the
// same for every pattern, where trying one reading of "*" after the other can take for ever.
bool matchesPattern(std::string_view pattern, const std::string &name)
{
    const std::vector<Position> positions = compile(pattern);
    const size_t end = positions.size() - 1;
    std::vector<char> reached(positions.size(), false);
    std::vector<char> following(positions.size());
    reached[0] = true;
    for (const char nameCharacter : name) {
        const char character = lowerCase(nameCharacter);
        following.assign(positions.size(), false);
        for (size_t i = 0; i <= end; ++i) {
            if (!reached[i])
                continue;
            if (positions[i].star)
                following[i] = true;
            if (i < end && (positions[i].next == character || positions[i].next == '?'))
                following[i + 1] = true;
        }
        reached.swap(following);
    }
    return reached[end];
}

} // namespace

bool matchesFilter(const std::string &filter, const std::string &name)
{
    std::string_view rest = filter;
    for (;;) {
        const size_t separator = rest.find('|');
        if (matchesPattern(rest.substr(0, separator), name))
            return true;
        if (separator == std::string_view::npos)
            return false;
        rest.remove_prefix(separator + 1);
    }
}

bool NameFilter::admits(const std::string &name) const
{
    if (whitelist && !matchesFilter(*whitelist, name))
        return false;
    return !blacklist || !matchesFilter(*blacklist, name);
}

} // namespace tavu
