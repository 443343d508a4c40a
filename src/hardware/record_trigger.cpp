#include "hardware/record_trigger.h"

#include "hardware/binding/handles.h"
#include "wire/values.h"

namespace tavu {

namespace {

using Quillon::ParameterValue;
using Quillon::TriggerBank;
using Quillon::TriggerElement;

constexpr uint32_t kRecordControl = 19;
constexpr uint32_t kExternalInput = 2;
constexpr uint32_t kSoftwareSource = 0;

constexpr uint32_t kStartInput = 0;
constexpr uint32_t kStopInput = 1;

boost::shared_ptr<TriggerElement> element(TriggerBank &bank, uint32_t kind)
{
    return requireHandle(bank.element(kind, 0), "TriggerBank::element");
}

} // namespace

RecordTrigger::RecordTrigger(Quillon::Device &recorder)
    : bank_(requireHandle(recorder.triggerBank(), "Device::triggerBank")),
      control_(element(*bank_, kRecordControl))
{
}

void RecordTrigger::program(const RecordProgram &program)
{
    programStart(program);
    programStop(program);
}

void RecordTrigger::programStart(const RecordProgram &program)
{
    if (const uint8_t flags = program.externalTrigger; flags != 0) {
        const auto external = element(*bank_, kExternalInput);
        programInput(external, kStartInput, "Start Enable", flags & trigger::kStart,
                     flags & trigger::kStartVariant);
        programInput(external, kStopInput, "Stop Enable", flags & trigger::kStop,
                     flags & trigger::kStopVariant);
        setFlag("Pretrigger Enable", program.usePretrigger);
        setNumber("Pretrigger Loop Time Value", program.pretriggerCount);
    } else if (program.usePretrigger) {
        control_->connectInput(element(*bank_, kSoftwareSource), kStartInput, false);
        setFlag("Start Enable", true);
        setFlag("Stop Enable", false);
        setFlag("Pretrigger Enable", true);
        setNumber("Pretrigger Loop Time Value", program.pretriggerCount);
        setFlag("Software Start Trigger", false);
    } else {
        setFlag("Start Enable", false);
        setFlag("Stop Enable", false);
        setFlag("Pretrigger Enable", false);
    }
}

void RecordTrigger::programStop(const RecordProgram &program)
{
    const auto condition = static_cast<StopCondition>(program.type);
    if (condition == StopCondition::FrameCount) {
        setFlag("Stop Time Enable", false);
        setFlag("Stop Frame Count Enable", true);
        set("Stop Frame Count Value", ParameterValue::uint32(static_cast<uint32_t>(program.count)));
        return;
    }
    setFlag("Stop Frame Count Enable", false);
    setFlag("Stop Time Enable", condition == StopCondition::Time);
    if (condition == StopCondition::Time)
        setNumber("Stop Time Value", program.count);
}

// Lets the external input act as one of the two inputs of the record control, or not.
void RecordTrigger::programInput(const boost::shared_ptr<TriggerElement> &external, uint32_t input,
                                 const char *enableName, bool enabled, bool variant)
{
    if (enabled)
        control_->connectInput(external, input, variant);
    setFlag(enableName, enabled);
}

void RecordTrigger::set(const char *name, const ParameterValue &value)
{
    requireHandle(control_->parameter(name), "TriggerElement::parameter")->set(value);
}

void RecordTrigger::setFlag(const char *name, bool value)
{
    set(name, ParameterValue::boolean(value));
}

void RecordTrigger::setNumber(const char *name, uint64_t value)
{
    set(name, ParameterValue::uint64(value));
}

void RecordTrigger::fire()
{
    setFlag("Software Start Trigger", true);
}

} // namespace tavu
