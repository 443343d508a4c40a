#pragma once

#include "client/tavuctl/session.h"

#include <cstdint>
#include <string>

namespace tavu::ctl {

/// What a person can do about an error of the service, a line or several; empty when we know
/// nothing better than the service's text.
std::string adviceFor(const std::string &serviceText, Session &session);

/// The same for a port that isn't ready to record: names what is missing.
std::string adviceForUnreadyPort(Session &session, uint8_t port);

/// Asks on the terminal before something that can't be undone. Raises UsageError when there is
/// nobody to ask, Failure when the answer isn't yes.
void confirm(const std::string &question);

} // namespace tavu::ctl
