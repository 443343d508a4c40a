#pragma once

#include <string>

namespace tavu::client {

/// The base name under which the service listens.
inline constexpr const char *kServiceName = "tavusrv";

/// What a person would call the address of a base name on this system, for messages.
std::string serviceAddress(const std::string &name = kServiceName);

} // namespace tavu::client
