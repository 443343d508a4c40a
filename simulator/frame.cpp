#include "frame.h"

#include "errors.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace simulator {

namespace {

class FrameForm final : public Common::DataType
{
public:
    FrameForm(uint32_t width, uint32_t height, uint32_t bitDepth)
        : width_(width), height_(height), bitDepth_(bitDepth)
    {
    }

    const uint32_t width_;
    const uint32_t height_;
    const uint32_t bitDepth_;
};

class Picture final : public Common::Frame
{
public:
    Picture(boost::shared_ptr<Common::DataType> form, boost::shared_ptr<Common::Buffer> pixels)
        : form_(std::move(form)), pixels_(std::move(pixels))
    {
    }

    const boost::shared_ptr<Common::DataType> form_;
    const boost::shared_ptr<Common::Buffer> pixels_;
};

const FrameForm &formOf(const Common::DataType &type)
{
    return static_cast<const FrameForm &>(type);
}

const FrameForm &formOf(const boost::shared_ptr<Common::DataType> &type)
{
    return formOf(required(type, "There is no data type."));
}

} // namespace

boost::shared_ptr<Common::DataType> makeDataType(uint32_t width, uint32_t height, uint32_t bitDepth)
{
    return boost::make_shared<FrameForm>(width, height, bitDepth);
}

boost::shared_ptr<Common::Frame> makeFrame(uint32_t width, uint32_t height, uint32_t bitDepth,
                                           boost::shared_ptr<Common::Buffer> buffer)
{
    return boost::make_shared<Picture>(makeDataType(width, height, bitDepth), std::move(buffer));
}

uint64_t frameBytes(uint32_t width, uint32_t height, uint32_t bitDepth)
{
    return uint64_t(width) * height * (bitDepth <= 8 ? 1 : 2);
}

} // namespace simulator

namespace Common {

uint32_t DataType::bitDepth() const
{
    return simulator::formOf(*this).bitDepth_;
}

uint32_t DataType::width() const
{
    return simulator::formOf(*this).width_;
}

uint32_t DataType::height() const
{
    return simulator::formOf(*this).height_;
}

uint32_t DataType::width(const boost::shared_ptr<DataType> &type)
{
    return simulator::formOf(type).width_;
}

uint32_t DataType::height(const boost::shared_ptr<DataType> &type)
{
    return simulator::formOf(type).height_;
}

boost::shared_ptr<DataType> Frame::dataType() const
{
    return static_cast<const simulator::Picture &>(*this).form_;
}

boost::shared_ptr<Buffer> Frame::buffer() const
{
    return static_cast<const simulator::Picture &>(*this).pixels_;
}

} // namespace Common
