#include "hardware/data_descriptors.h"

#include "hardware/binding/handles.h"

#include <span>
#include <string>

namespace tavu {

namespace {

using Quillon::DataDescriptor;
using Quillon::ParameterValue;

constexpr uint32_t kCameraLinkDescriptor = 0;
constexpr uint32_t kCxpDescriptor = 4;
constexpr uint32_t kNarrowLink = 2;
constexpr uint8_t kWideFamily = 3; ///< family of recorders that take eight pixels at a time

/// What a field is set to: a fixed number, off, or one of the numbers that follow from the port.
enum class Content
{
    Number,
    Off,
    Width,
    Height,
    LineLength,
    Lanes,
    TapCode,
};

struct Field
{
    uint32_t id;
    Content content;
    uint32_t number = 0;
};

// Both tables stand in the order of setting.

constexpr Field kCxpFields[] = {
    {35, Content::Width},     {1, Content::LineLength}, {2, Content::Height},
    {3, Content::Number, 0},  {4, Content::Number, 0},  {5, Content::Lanes},
    {6, Content::Number, 16}, {7, Content::Number, 0},  {9, Content::Off},
    {13, Content::Off},       {14, Content::Off},       {15, Content::Number, 1},
    {16, Content::Off},       {17, Content::Number, 1}, {18, Content::Number, 1},
    {19, Content::Number, 1},
};

constexpr Field kCameraLinkFields[] = {
    {0, Content::TapCode},    {1, Content::LineLength}, {2, Content::Height},
    {3, Content::Number, 0},  {4, Content::Number, 0},  {5, Content::Lanes},
    {6, Content::Number, 16}, {7, Content::Number, 0},  {8, Content::Off},
    {9, Content::Off},        {13, Content::Off},       {14, Content::Off},
    {15, Content::Number, 1}, {20, Content::Off},       {16, Content::Off},
    {17, Content::Number, 1}, {18, Content::Number, 1}, {19, Content::Number, 1},
    {24, Content::Off},       {25, Content::Number, 0}, {27, Content::Off},
    {28, Content::Off},       {30, Content::Off},
};

struct TapLayout
{
    uint32_t tapGeometry;
    uint32_t code;
    uint32_t taps;
};

/// Geometries 10 and 1 share a code and differ only in their taps.
constexpr TapLayout kTapLayouts[] = {{19, 2, 4}, {10, 1, 3}, {1, 1, 2}};
constexpr TapLayout kSingleTap = {0, 0, 1};

const TapLayout &tapLayout(uint32_t tapGeometry)
{
    for (const TapLayout &layout : kTapLayouts) {
        if (layout.tapGeometry == tapGeometry)
            return layout;
    }
    return kSingleTap;
}

/// The numbers that follow from the port.
struct Numbers
{
    uint32_t width;
    uint32_t height;
    uint32_t lineLength;
    uint32_t lanes;
    uint32_t tapCode;
};

Numbers cxpNumbers(Quillon::Port &port, const DeviceType &type, const PortFormat &format)
{
    const bool narrow = port.linkMode() == kNarrowLink;
    const int shift = type.hardwareType == kWideFamily ? 3 : narrow ? 2 : 1;
    const uint32_t width = format.width;
    return {width, format.height, width >> shift, narrow ? 2u : 1u, 0};
}

Numbers cameraLinkNumbers(const PortFormat &format)
{
    const TapLayout &layout = tapLayout(format.tapGeometry);
    const uint32_t width = format.width;
    return {width, format.height, width / layout.taps, layout.taps, layout.code};
}

ParameterValue value(const Field &field, const Numbers &numbers)
{
    switch (field.content) {
    case Content::Number:
        return ParameterValue::uint32(field.number);
    case Content::Off:
        return ParameterValue::boolean(false);
    case Content::Width:
        return ParameterValue::uint32(numbers.width);
    case Content::Height:
        return ParameterValue::uint32(numbers.height);
    case Content::LineLength:
        return ParameterValue::uint32(numbers.lineLength);
    case Content::Lanes:
        return ParameterValue::uint32(numbers.lanes);
    case Content::TapCode:
        return ParameterValue::uint32(numbers.tapCode);
    }
    return ParameterValue();
}

} // namespace

boost::shared_ptr<DataDescriptor> describePort(Quillon::Port &port, uint32_t index,
                                               const DeviceType &type, const PortFormat &format)
{
    const Numbers numbers = type.isCxp ? cxpNumbers(port, type, format) : cameraLinkNumbers(format);
    const std::span<const Field> fields =
        type.isCxp ? std::span<const Field>(kCxpFields) : std::span<const Field>(kCameraLinkFields);
    const auto descriptor = requireHandle(
        DataDescriptor::Factory::create(type.isCxp ? kCxpDescriptor : kCameraLinkDescriptor),
        "DataDescriptor::Factory::create");
    descriptor->setCustom(true);
    descriptor->setManufacturer("OREK");
    descriptor->setModel("TAVU");
    descriptor->setSubModel(std::to_string(index).c_str());
    for (const Field &field : fields)
        descriptor->field(field.id) = value(field, numbers);
    return descriptor;
}

} // namespace tavu
