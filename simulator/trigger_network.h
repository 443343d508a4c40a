#pragma once

#include "hardware/library/trigger.h"

namespace simulator {

class Recorder;

/// The trigger network of a recorder.
class TriggerNetwork final : public Quillon::TriggerBank
{
public:
    explicit TriggerNetwork(Recorder &recorder);
    virtual ~TriggerNetwork();

    boost::shared_ptr<Quillon::TriggerElement> element(uint32_t kind, uint32_t index) override;

    /// Called on each change of the external input's level.
    void externalInputChanged(bool high);
};

} // namespace simulator
