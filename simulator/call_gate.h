#pragma once

#include "call_log.h"
#include "call_text.h"
#include "fault_plan.h"

#include <memory>
#include <string>

namespace simulator {

/// What every operation begins with: the call log, the faults that hold for all recorders, and
/// those of its own recorder.
struct CallGate
{
    /// Begins an operation with its arguments, the object first where a recorder has several of its
    /// kind: writes the call into the log, waits, and raises Common::GeneralException, as the fault
    /// plans say. False when the operation shall do nothing and yield nothing. To be called before
    /// anything else, with no lock held that other operations need.
    template <typename... Arguments>
    [[nodiscard]] bool begin(Operation operation, const Arguments &...arguments) const
    {
        if (log && log->isOn())
            log->write(recorderName, operation, {spelled(arguments)...});
        return passFaults(operation);
    }

    std::shared_ptr<CallLog> log;
    std::shared_ptr<FaultPlan> commonFaults;
    std::shared_ptr<FaultPlan> recorderFaults = nullptr; ///< null outside of a recorder
    std::string recorderName = "-";                      ///< its folder's

private:
    bool passFaults(Operation operation) const;
};

} // namespace simulator
