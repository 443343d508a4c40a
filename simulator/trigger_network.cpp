#include "trigger_network.h"

#include "errors.h"
#include "recorder.h"
#include "recording.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

using Tag = Quillon::ParameterValue::Tag;

struct Setting
{
    const char *name;
    Tag tag;
    uint64_t RecordControl::*field;
};

constexpr Setting kSettings[] = {
    {"Start Enable", Tag::Boolean, &RecordControl::startEnable},
    {"Stop Enable", Tag::Boolean, &RecordControl::stopEnable},
    {"Pretrigger Enable", Tag::Boolean, &RecordControl::pretriggerEnable},
    {"Pretrigger Loop Time Value", Tag::Uint64, &RecordControl::pretriggerTime},
    {"Software Start Trigger", Tag::Boolean, &RecordControl::softwareStartTrigger},
    {"Stop Frame Count Enable", Tag::Boolean, &RecordControl::stopCountEnable},
    {"Stop Frame Count Value", Tag::Uint32, &RecordControl::stopCount},
    {"Stop Time Enable", Tag::Boolean, &RecordControl::stopTimeEnable},
    {"Stop Time Value", Tag::Uint64, &RecordControl::stopTime},
};

enum Kind : uint32_t
{
    SoftwareSource = 0,
    ExternalInput = 2,
    RecordControlElement = 19
};

class Parameter final : public Quillon::Parameter
{
public:
    Parameter(Recorder &recorder, const Setting &setting) : recorder_(recorder), setting_(setting)
    {
    }
    virtual ~Parameter() = default;

    void set(const Quillon::ParameterValue &value) override
    {
        if (!recorder_.begin("Parameter::set", setting_.name, value))
            return;
        if (value.tag() != setting_.tag)
            raiseError(std::string("A value of another type for \"") + setting_.name + "\".");
        recorder_.triggers().set(setting_.field, value.number());
    }

private:
    Recorder &recorder_;
    const Setting &setting_;
};

class Element final : public Quillon::TriggerElement
{
public:
    Element(Recorder &recorder, uint32_t kind) : recorder_(recorder), kind_(kind) {}
    virtual ~Element() = default;

    boost::shared_ptr<Quillon::Parameter> parameter(const Quillon::String &name) override;
    void connectInput(const boost::shared_ptr<Quillon::TriggerElement> &source, uint32_t input,
                      bool variant) override;

    uint32_t kind() const { return kind_; }

private:
    Recorder &recorder_;
    const uint32_t kind_;
};

boost::shared_ptr<Quillon::Parameter> Element::parameter(const Quillon::String &name)
{
    if (!recorder_.begin("TriggerElement::parameter", *this, name))
        return {};
    for (const Setting &setting : kSettings) {
        if (kind_ == RecordControlElement && std::string(setting.name) == name.c_str())
            return boost::make_shared<Parameter>(recorder_, setting);
    }
    raiseError(std::string("There is no parameter \"") + name.c_str() + "\".");
}

void Element::connectInput(const boost::shared_ptr<Quillon::TriggerElement> &source, uint32_t input,
                           bool variant)
{
    if (!recorder_.begin("TriggerElement::connectInput", *this, source, input, variant))
        return;
    if (kind_ != RecordControlElement || input > 1)
        raiseError("There is no input " + std::to_string(input) + ".");
    const auto *element = dynamic_cast<const Element *>(source.get());
    if (!element || element->kind() == RecordControlElement)
        raiseError("That is no source.");
    TriggerInput connection;
    connection.source =
        element->kind() == ExternalInput ? TriggerSource::External : TriggerSource::Software;
    connection.falling = variant;
    recorder_.triggers().connect(
        input == 0 ? &RecordControl::startInput : &RecordControl::stopInput, connection);
}

} // namespace

std::string spelled(const Quillon::TriggerElement &element)
{
    return "element " + std::to_string(static_cast<const Element &>(element).kind());
}

bool TriggerInput::isFiredBy(TriggerSource from, bool high) const
{
    return source == from && (from == TriggerSource::Software || high != falling);
}

TriggerNetwork::TriggerNetwork(Recorder &recorder) : recorder_(recorder) {}

TriggerNetwork::~TriggerNetwork() = default;

boost::shared_ptr<Quillon::TriggerElement> TriggerNetwork::element(uint32_t kind, uint32_t index)
{
    if (!recorder_.begin("TriggerBank::element", kind, index))
        return {};
    const bool isKnown =
        kind == SoftwareSource || kind == ExternalInput || kind == RecordControlElement;
    if (!isKnown || index != 0)
        raiseError("There is no trigger element " + std::to_string(kind) + "/" +
                   std::to_string(index) + ".");
    return boost::make_shared<Element>(recorder_, kind);
}

RecordControl TriggerNetwork::control() const
{
    std::lock_guard guard(mutex_);
    return control_;
}

void TriggerNetwork::set(uint64_t RecordControl::*setting, uint64_t value)
{
    {
        std::lock_guard guard(mutex_);
        control_.*setting = value;
    }
    if (setting == &RecordControl::softwareStartTrigger && value != 0)
        recorder_.recording().trigger(TriggerSource::Software, true);
}

void TriggerNetwork::connect(TriggerInput RecordControl::*input, const TriggerInput &connection)
{
    std::lock_guard guard(mutex_);
    control_.*input = connection;
}

void TriggerNetwork::reset()
{
    std::lock_guard guard(mutex_);
    control_ = {};
}

void TriggerNetwork::externalInputChanged(bool high)
{
    recorder_.recording().trigger(TriggerSource::External, high);
}

} // namespace simulator
