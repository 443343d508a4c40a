#include "call_log.h"

#include "settings_file.h"

#include <stdexcept>

namespace simulator {

void CallLog::open(const std::filesystem::path &file)
{
    std::lock_guard guard(mutex_);
    isOn_ = false;
    stream_ = {};
    if (file.empty())
        return;
    stream_.open(file, std::ios::binary | std::ios::app);
    if (!stream_)
        throw std::runtime_error(nameOf(file) + " can't be written");
    isOn_ = true;
}

void CallLog::write(const std::string &recorder, Operation operation,
                    std::initializer_list<std::string> arguments)
{
    std::string line = recorder + ' ' + operation.name();
    const char *separator = " ";
    for (const std::string &argument : arguments) {
        line += separator + argument;
        separator = ", ";
    }
    line += '\n';
    std::lock_guard guard(mutex_);
    stream_ << line << std::flush;
}

} // namespace simulator
