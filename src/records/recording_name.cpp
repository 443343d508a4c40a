#include "records/recording_name.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace tavu {

namespace {

constexpr size_t kNoCandidate = ~size_t(0);

/// The number of the candidate that \a name is: 0 for \a wanted itself, n for "wanted(n)".
size_t candidateNumber(std::string_view name, std::string_view wanted)
{
    if (!name.starts_with(wanted))
        return kNoCandidate;
    name.remove_prefix(wanted.size());
    if (name.empty())
        return 0;
    if (name.size() < 3 || name.front() != '(' || name.back() != ')' || name[1] == '0')
        return kNoCandidate;
    size_t number = 0;
    const char *const end = name.data() + name.size() - 1;
    const auto parsed = std::from_chars(name.data() + 1, end, number);
    return parsed.ec == std::errc() && parsed.ptr == end ? number : kNoCandidate;
}

} // namespace

std::string unusedRecordingName(std::span<const FileRecord> list, const std::string &wanted)
{
    // One pass, whatever the number of names: n of them leave one of the first n + 1 candidates.
    std::vector<bool> taken(list.size() + 1);
    for (const FileRecord &record : list) {
        const size_t number = candidateNumber(record.name, wanted);
        if (number < taken.size())
            taken[number] = true;
    }
    const auto number = std::find(taken.begin(), taken.end(), false) - taken.begin();
    return number == 0 ? wanted : wanted + "(" + std::to_string(number) + ")";
}

} // namespace tavu
