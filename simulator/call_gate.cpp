#include "call_gate.h"

#include "errors.h"

#include <chrono>
#include <thread>

namespace simulator {

bool CallGate::passFaults(Operation operation) const
{
    FaultPlan::Effect effect;
    for (FaultPlan *plan : {commonFaults.get(), recorderFaults.get()})
        if (plan)
            effect += plan->count(operation);
    if (effect.milliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(effect.milliseconds));
    if (!effect.error.empty())
        raiseError(effect.error);
    return !effect.empty;
}

} // namespace simulator
