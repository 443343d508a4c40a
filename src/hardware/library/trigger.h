#pragma once

#include "hardware/library/common.h"
#include "hardware/library/parameter_value.h"

#include <cstdint>

namespace Quillon {

/// One setting of a trigger element.
class Parameter
{
public:
    virtual void set(const ParameterValue &value) = 0;

protected:
    ~Parameter() = default;
};

/// A node of the trigger network.
class TriggerElement
{
public:
    virtual boost::shared_ptr<Parameter> parameter(const String &name) = 0;
    /// Input 0 is the start input, input 1 the stop input.
    virtual void connectInput(const boost::shared_ptr<TriggerElement> &source, std::uint32_t input,
                              bool variant) = 0;

protected:
    ~TriggerElement() = default;
};

/// The trigger network of a recorder.
class TriggerBank
{
public:
    virtual boost::shared_ptr<TriggerElement> element(std::uint32_t kind, std::uint32_t index) = 0;

protected:
    ~TriggerBank() = default;
};

} // namespace Quillon
