#include "client/tavuview/web.h"

#include "client/tools/text.h"

namespace tavu::view {

uint64_t WebRequest::number(const std::string &key, uint64_t most,
                            std::optional<uint64_t> absent) const
{
    const auto found = query.find(key);
    if (found == query.end() && absent)
        return *absent;
    const auto value =
        found == query.end() ? std::nullopt : tools::parseNumber<uint64_t>(found->second);
    if (!value || *value > most)
        throw BadRequest("\"" + key + "\" must be a number from 0 to " + std::to_string(most));
    return *value;
}

} // namespace tavu::view
