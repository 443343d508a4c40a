#include "records/recording_name.h"

#include <string_view>
#include <unordered_set>

namespace tavu {

std::string unusedRecordingName(std::span<const FileRecord> list, const std::string &wanted)
{
    std::unordered_set<std::string_view> taken;
    for (const FileRecord &record : list) {
        if (record.name.starts_with(wanted))
            taken.insert(record.name);
    }
    std::string name = wanted;
    for (size_t number = 1; taken.contains(name); ++number)
        name = wanted + "(" + std::to_string(number) + ")";
    return name;
}

} // namespace tavu
