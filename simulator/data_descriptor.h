#pragma once

#include "hardware/library/port.h"

#include <cstdint>
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

    uint32_t width() const;  ///< pixels; 0 while it isn't set
    uint32_t height() const; ///< pixels; 0 while it isn't set

    Quillon::String manufacturer;
    Quillon::String model;
    Quillon::String subModel;
    bool custom = false;

    /// For the call log: type, texts, and the fields in the order in which they were first asked
    /// for.
    std::string text() const;

private:
    uint32_t number(uint32_t id) const;

    const uint32_t type_;
    std::map<uint32_t, Quillon::ParameterValue> fields_;
    std::vector<uint32_t> order_;
    Quillon::ParameterValue discarded_; ///< takes what is written to a field that a fault empties
};

} // namespace simulator
