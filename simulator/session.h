#pragma once

#include "installation.h"

namespace simulator {

/// Lasts from the library's start until the last handle of an instance or a device collection is
/// dropped. The installation stays for the handles of recorders and what belongs to them.
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
