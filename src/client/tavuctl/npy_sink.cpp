#include "client/tavuctl/one_size_file.h"

namespace tavu::ctl {

namespace {

// The format is that of numpy.lib.format, version 1.0.
class NpySink final : public OneSizeFile
{
public:
    NpySink(const std::string &path, uint64_t frameCount)
        : OneSizeFile(path), frameCount_(frameCount)
    {
    }

private:
    std::string fileHead(uint32_t width, uint32_t height) const override
    {
        constexpr size_t kBefore = 10; // bytes before the dictionary
        constexpr size_t kAlignment = 64;
        std::string shape = "{'descr': '<u2', 'fortran_order': False, 'shape': (" +
                            std::to_string(frameCount_) + ", " + std::to_string(height) + ", " +
                            std::to_string(width) + "), }";
        // The data begin at a multiple of 64, behind blanks and the end of a line.
        const size_t end = kBefore + shape.size() + 1;
        shape.append((kAlignment - end % kAlignment) % kAlignment, ' ');
        shape += '\n';
        std::string head = "\x93NUMPY";
        head +=
            {1, 0, static_cast<char>(shape.size() & 0xFF), static_cast<char>(shape.size() >> 8)};
        return head + shape;
    }

    uint64_t frameCount_;
};

} // namespace

std::unique_ptr<FrameSink> makeNpySink(const std::string &path, uint64_t frameCount)
{
    return std::make_unique<NpySink>(path, frameCount);
}

} // namespace tavu::ctl
