#pragma once

#include "client/region.h"
#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/output_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavu::ctl {

/// A file of frames that begins with their size, which therefore stays the same.
class OneSizeFile : public FrameSink
{
public:
    explicit OneSizeFile(std::string path) : path_(std::move(path)), file_(path_) {}

    void put(uint64_t number, const client::FrameView &frame) override;
    void finish() override { file_.finish(); }
    std::vector<std::string> files() const override { return {path_}; }

protected:
    /// What the file begins with, and what each frame does.
    virtual std::string fileHead(uint32_t width, uint32_t height) const = 0;
    virtual std::string frameHead() const { return {}; }

private:
    void write(const std::string &text);

    std::string path_;
    OutputFile file_;
    std::optional<std::pair<uint32_t, uint32_t>> size_;
};

} // namespace tavu::ctl
