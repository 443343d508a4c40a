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

DataDescriptor::~DataDescriptor() = default;

Quillon::ParameterValue &DataDescriptor::field(uint32_t id)
{
    if (libraryFaults().empties("DataDescriptor::field"))
        return discarded_;
    return fields_[id];
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
    if (simulator::libraryFaults().empties("DataDescriptor::create"))
        return {};
    return boost::make_shared<simulator::DataDescriptor>(type);
}

void DataDescriptor::setManufacturer(const String &text)
{
    simulator::mine(*this).manufacturer = text;
}

void DataDescriptor::setModel(const String &text)
{
    simulator::mine(*this).model = text;
}

void DataDescriptor::setSubModel(const String &text)
{
    simulator::mine(*this).subModel = text;
}

void DataDescriptor::setCustom(bool custom)
{
    simulator::mine(*this).custom = custom;
}

} // namespace Quillon
