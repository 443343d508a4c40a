#include "data_descriptor.h"

#include "installation.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

/// Here the width stands in a field of its own, elsewhere it is that of a tap times their count.
constexpr uint32_t kCoaXPressType = 4;

DataDescriptor &mine(Quillon::DataDescriptor &descriptor)
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
    if (libraryGate().empties("DataDescriptor::field", id))
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
    return type_ == kCoaXPressType ? number(35) : number(1) * number(5);
}

uint32_t DataDescriptor::number(uint32_t id) const
{
    const auto field = fields_.find(id);
    return field == fields_.end() ? 0 : uint32_t(field->second.number());
}

} // namespace simulator

namespace Quillon {

boost::shared_ptr<DataDescriptor> DataDescriptor::Factory::create(uint32_t type)
{
    if (simulator::libraryGate().empties("DataDescriptor::create", type))
        return {};
    return boost::make_shared<simulator::DataDescriptor>(type);
}

void DataDescriptor::setManufacturer(const String &text)
{
    simulator::libraryGate().note("DataDescriptor::setManufacturer", text);
    simulator::mine(*this).manufacturer = text;
}

void DataDescriptor::setModel(const String &text)
{
    simulator::libraryGate().note("DataDescriptor::setModel", text);
    simulator::mine(*this).model = text;
}

void DataDescriptor::setSubModel(const String &text)
{
    simulator::libraryGate().note("DataDescriptor::setSubModel", text);
    simulator::mine(*this).subModel = text;
}

void DataDescriptor::setCustom(bool custom)
{
    simulator::libraryGate().note("DataDescriptor::setCustom", custom);
    simulator::mine(*this).custom = custom;
}

} // namespace Quillon
