#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tavu::ctl {

/// One line on standard error about work that goes on: it changes in place on a terminal that can
/// do so; elsewhere a line comes now and then, ever more rarely, when there is something new.
class StatusLine
{
public:
    StatusLine();
    StatusLine(const StatusLine &) = delete;
    StatusLine &operator=(const StatusLine &) = delete;
    ~StatusLine();

    bool changesInPlace() const { return inPlace_; }
    /// Columns that the line may take; ever so many where it doesn't change in place.
    unsigned columns() const;
    /// It is time for the next show().
    bool isDue() const { return Clock::now() >= next_; }
    /// The next one is due at once.
    void hurry() { next_ = Clock::now(); }
    /// Shows what fits of \a text.
    void show(const std::string &text);

private:
    using Clock = std::chrono::steady_clock;

    bool inPlace_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point next_ = start_;
    std::string shown_;
};

} // namespace tavu::ctl
