#pragma once

#include "hardware/library/port.h"

#include <map>
#include <string>
#include <vector>

namespace simulator {

/// What a program says that a port delivers.
class DataDescriptor final : public Quillon::DataDescriptor
{
public:
    explicit DataDescriptor(uint32_t type) : type_(type) {}
    virtual ~DataDescriptor();

    Quillon::ParameterValue &field(uint32_t id) override;

    /// Pixels; 0 as long as nobody told.
    uint32_t width() const;
    uint32_t height() const { return number(2); }

    Quillon::String manufacturer;
    Quillon::String model;
    Quillon::String subModel;
    bool custom = false;

    /// Everything, the fields in the order in which they were first asked for.
    std::string text() const;

private:
    uint32_t number(uint32_t id) const;

    const uint32_t type_;
    std::map<uint32_t, Quillon::ParameterValue> fields_;
    std::vector<uint32_t> order_;
    Quillon::ParameterValue discarded_;
};

} // namespace simulator
