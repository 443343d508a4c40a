#include "hardware/data_descriptors.h"

#include "hardware/binding/handles.h"

#include <span>
#include <string>
#include <variant>

namespace tavu {

namespace {

using Quillon::DataDescriptor;
using Quillon::ParameterValue;

constexpr uint32_t kCameraLinkDescriptor = 0;
constexpr uint32_t kCxpDescriptor = 4;
constexpr uint32_t kNarrowLink = 2;
constexpr uint8_t kWideFamily = 3; ///< family of recorders that take eight pixels at a time

/// The numbers that follow from the port.
struct Numbers
{
    uint32_t width;
    uint32_t height;
    uint32_t lineLength;
    uint32_t lanes;
    uint32_t tapCode;
};

struct Field
{
    uint32_t id;
    std::variant<bool, uint32_t, uint32_t Numbers::*> content;
};

constexpr auto kWidth = &Numbers::width, kHeight = &Numbers::height,
               kLineLength = &Numbers::lineLength, kLanes = &Numbers::lanes,
               kTapCode = &Numbers::tapCode;

// Both tables stand in the order of setting.

constexpr Field kCxpFields[] = {
    {35, kWidth}, {1, kLineLength}, {2, kHeight}, {3, 0u},     {4, 0u},     {5, kLanes},
    {6, 16u},     {7, 0u},          {9, false},   {13, false}, {14, false}, {15, 1u},
    {16, false},  {17, 1u},         {18, 1u},     {19, 1u},
};

constexpr Field kCameraLinkFields[] = {
    {0, kTapCode}, {1, kLineLength}, {2, kHeight}, {3, 0u},     {4, 0u},     {5, kLanes},
    {6, 16u},      {7, 0u},          {8, false},   {9, false},  {13, false}, {14, false},
    {15, 1u},      {20, false},      {16, false},  {17, 1u},    {18, 1u},    {19, 1u},
    {24, false},   {25, 0u},         {27, false},  {28, false}, {30, false},
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
    if (const auto *derived = std::get_if<uint32_t Numbers::*>(&field.content))
        return ParameterValue::uint32(numbers.*(*derived));
    if (const auto *number = std::get_if<uint32_t>(&field.content))
        return ParameterValue::uint32(*number);
    return ParameterValue::boolean(std::get<bool>(field.content));
}

} // namespace

boost::shared_ptr<DataDescriptor> describePort(Quillon::Port &port, uint32_t index,
                                               const DeviceType &type, const PortFormat &format)
{
    const Numbers numbers = type.isCxp ? cxpNumbers(port, type, format) : cameraLinkNumbers(format);
    const std::span<const Field> fields =
        type.isCxp ? std::span<const Field>(kCxpFields) : std::span<const Field>(kCameraLinkFields);
    auto descriptor = requireHandle(
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
