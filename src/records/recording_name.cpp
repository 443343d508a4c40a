#include "records/recording_name.h"

#include <set>
#include <string_view>

namespace tavu {

std::string unusedRecordingName(std::span<const FileRecord> list, const std::string &wanted)
{
    std::set<std::string_view> taken;
    for (const FileRecord &record : list)
        taken.insert(record.name);
    std::string name = wanted;
    for (size_t number = 1; taken.contains(name); ++number)
        name = wanted + "(" + std::to_string(number) + ")";
    return name;
}

} // namespace tavu
