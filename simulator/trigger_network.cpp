#include "trigger_network.h"

namespace simulator {

TriggerNetwork::TriggerNetwork(Recorder &) {}

TriggerNetwork::~TriggerNetwork() = default;

boost::shared_ptr<Quillon::TriggerElement> TriggerNetwork::element(uint32_t, uint32_t)
{
    return {};
}

void TriggerNetwork::externalInputChanged(bool) {}

} // namespace simulator
