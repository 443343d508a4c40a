#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace tavu::ctl {

/// A file that tavuctl makes; "-" is standard output. A file that isn't finished is removed at the
/// end of the object. Everything raises Failure with the path and the system's reason.
class OutputFile
{
public:
    explicit OutputFile(std::string path);
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();

    void write(std::span<const uint8_t> bytes);

    /// All bytes have reached the file, and it stays.
    void finish();

private:
    void discard();
    [[noreturn]] void fail();

    std::string path_;
    std::FILE *file_ = nullptr; ///< null for standard output and when finished
    bool standardOutput_;
};

} // namespace tavu::ctl
