#include "client/tavuctl/status_line.h"

#include "client/tavuctl/console.h"
#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <algorithm>
#include <cstdio>

namespace tavu::ctl {

using namespace std::chrono_literals;

StatusLine::StatusLine() : inPlace_(obeysEscapes(stderr))
{
    // Work that is over soon needs no plain line.
    if (!inPlace_)
        next_ += 2s;
}

StatusLine::~StatusLine()
{
    if (inPlace_ && !shown_.empty())
        note("");
}

unsigned StatusLine::columns() const
{
    // Asked each time, since windows change. Many terminals wrap as soon as the last column is
    // taken.
    return inPlace_ ? std::max(1u, consoleSize(stderr).columns - 1) : ~0u;
}

void StatusLine::show(const std::string &text)
{
    const auto now = Clock::now();
    if (inPlace_) {
        next_ = now + 100ms;
        shown_ = cutToWidth(consolesShowUtf8() ? text : plainText(text), columns());
        std::fprintf(stderr, "\r%s\033[K", shown_.c_str());
        std::fflush(stderr);
        return;
    }
    // A recording may last for days, and its lines shall still be read.
    next_ = now + std::clamp<Clock::duration>((now - start_) / 10, 3s, 60s);
    if (text != shown_)
        note(text);
    shown_ = text;
}

} // namespace tavu::ctl
