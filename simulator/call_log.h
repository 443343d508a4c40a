#pragma once

#include "operation.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <mutex>
#include <string>

namespace simulator {

/// The file that gets a line for each call of an operation. Any thread.
class CallLog
{
public:
    /// Appends to \a file from now on; with an empty path, to none. Raises std::runtime_error when
    /// it can't be opened.
    void open(const std::filesystem::path &file);

    bool isOn() const { return isOn_; }
    /// The line is in the file when this returns, so that it outlives the process.
    void write(const std::string &recorder, Operation operation,
               std::initializer_list<std::string> arguments);

private:
    std::atomic<bool> isOn_ = false; ///< read without the mutex, as most often there is no log
    std::mutex mutex_;
    std::ofstream stream_;
};

} // namespace simulator
