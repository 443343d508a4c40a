#include "data_descriptor.h"

#include "installation.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

/// Of this type the width has a field of its own, elsewhere it is a tap's width times their count.
constexpr uint32_t kCoaXPressType = 4;

// The numbers of fields.
constexpr uint32_t kTapWidth = 1, kHeight = 2, kTapCount = 5, kWidth = 35;

DataDescriptor &implementation(Quillon::DataDescriptor &descriptor)
{
    return static_cast<DataDescriptor &>(descriptor);
}

} // namespace

std::string spelled(const Quillon::DataDescriptor &descriptor)
{
    return static_cast<const DataDescriptor &>(descriptor).text();
}

DataDescriptor::~DataDescriptor() = default;

Quillon::ParameterValue &DataDescriptor::field(uint32_t id)
{
    if (!libraryGate().begin("DataDescriptor::field", id))
        return discarded_;
    const auto [field, isNew] = fields_.try_emplace(id);
    if (isNew)
        order_.push_back(id);
    return field->second;
}

std::string DataDescriptor::text() const
{
    std::string text = "type " + std::to_string(type_) + ", " + (custom ? "custom" : "not custom");
    for (const Quillon::String *name : {&manufacturer, &model, &subModel})
        text += ", " + spelled(*name);
    for (const uint32_t id : order_)
        text += ", " + std::to_string(id) + '=' + spelled(fields_.at(id));
    return text;
}

uint32_t DataDescriptor::width() const
{
    return type_ == kCoaXPressType ? number(kWidth) : number(kTapWidth) * number(kTapCount);
}

uint32_t DataDescriptor::height() const
{
    return number(kHeight);
}

uint32_t DataDescriptor::number(uint32_t id) const
{
    const auto field = fields_.find(id);
    return field == fields_.end() ? 0 : static_cast<uint32_t>(field->second.number());
}

} // namespace simulator

namespace Quillon {

boost::shared_ptr<DataDescriptor> DataDescriptor::Factory::create(uint32_t type)
{
    return simulator::libraryGate().begin("DataDescriptor::create", type)
               ? boost::make_shared<simulator::DataDescriptor>(type)
               : nullptr;
}

void DataDescriptor::setManufacturer(const String &text)
{
    if (simulator::libraryGate().begin("DataDescriptor::setManufacturer", text))
        simulator::implementation(*this).manufacturer = text;
}

void DataDescriptor::setModel(const String &text)
{
    if (simulator::libraryGate().begin("DataDescriptor::setModel", text))
        simulator::implementation(*this).model = text;
}

void DataDescriptor::setSubModel(const String &text)
{
    if (simulator::libraryGate().begin("DataDescriptor::setSubModel", text))
        simulator::implementation(*this).subModel = text;
}

void DataDescriptor::setCustom(bool custom)
{
    if (simulator::libraryGate().begin("DataDescriptor::setCustom", custom))
        simulator::implementation(*this).custom = custom;
}

} // namespace Quillon
