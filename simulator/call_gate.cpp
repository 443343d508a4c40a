#include "call_gate.h"

#include <chrono>
#include <thread>

namespace simulator {

bool CallGate::isEmptied(const char *operation) const
{
    FaultPlan::Effect effect;
    for (FaultPlan *plan : {commonFaults.get(), recorderFaults.get()})
        if (plan)
            effect = effect + plan->count(operation);
    if (effect.milliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(effect.milliseconds));
    if (effect.raises)
        throw Common::GeneralException(effect.text.c_str());
    return effect.empty;
}

} // namespace simulator
