#include "client/tavuctl/output_file.h"

#include "client/tavuctl/session.h"
#include "platform/files.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace tavu::ctl {

OutputFile::OutputFile(std::string path) : path_(std::move(path)), standardOutput_(path_ == "-")
{
    if (standardOutput_)
        return;
    file_ = openStdFile(path_, "wb");
    if (!file_)
        fail();
}

OutputFile::~OutputFile()
{
    if (!file_)
        return;
    std::fclose(file_);
    discard();
}

void OutputFile::write(std::span<const uint8_t> bytes)
{
    if (standardOutput_)
        printBytes(bytes);
    else if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size())
        fail();
}

void OutputFile::finish()
{
    if (!file_)
        return;
    const int closed = std::fclose(file_);
    file_ = nullptr;
    if (closed == 0)
        return;
    const int reason = errno;
    discard();
    errno = reason;
    fail();
}

void OutputFile::discard()
{
    // A device or a pipe that was there before us stays.
    if (isRegularFile(path_))
        deleteFile(path_);
}

void OutputFile::fail()
{
    throw Failure("can't write " + path_ + ": " + std::strerror(errno));
}

} // namespace tavu::ctl
