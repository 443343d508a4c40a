#pragma once

#include <optional>
#include <string>

namespace tavu {

/// True when \a name matches one of the patterns in \a filter, which are separated by "|". A
/// pattern stands for the whole name and ignores case; "?" is any one character, "*" any run of
/// them. There is no escape character. An empty pattern matches the empty name only. The time
/// taken grows with the product of the two lengths, whatever the pattern.
bool matchesFilter(const std::string &filter, const std::string &name);

/// A whitelist and a blacklist of names. A list that is absent lets every name pass; one that is
/// present but empty counts, so that an empty whitelist keeps every named device out.
struct NameFilter
{
    std::optional<std::string> whitelist;
    std::optional<std::string> blacklist;

    bool isPresent() const { return whitelist || blacklist; }
    bool admits(const std::string &name) const;
};

} // namespace tavu
