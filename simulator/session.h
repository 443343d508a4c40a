#pragma once

#include "installation.h"

namespace simulator {

/// The time from the library's start until the last handle of its instance and its collections
/// goes. The installation itself stays, for handles further down.
class Session
{
public:
    explicit Session(Installation &installation) : installation_(installation)
    {
        installation_.start();
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session() { installation_.stop(); }

    Installation &installation() { return installation_; }

private:
    Installation &installation_;
};

} // namespace simulator
