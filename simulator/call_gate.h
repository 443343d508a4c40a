#pragma once

#include "call_log.h"
#include "call_text.h"
#include "fault_plan.h"

namespace simulator {

/// The way into every operation: past the call log, and past the faults of all recorders and of its
/// own one.
struct CallGate
{
    /// Puts a call into the log.
    template <typename... Arguments>
    void note(const char *operation, const Arguments &...arguments) const
    {
        if (log && log->isOn())
            log->write(recorderName, operation, {spelled(arguments)...});
    }

    /// To be called first thing in every operation, with no lock held that other operations need:
    /// notes the call, waits, then raises Common::GeneralException, as the plans say. True when the
    /// operation shall do nothing and yield nothing.
    template <typename... Arguments>
    bool empties(const char *operation, const Arguments &...arguments) const
    {
        note(operation, arguments...);
        return isEmptied(operation);
    }

    std::shared_ptr<CallLog> log;
    std::shared_ptr<FaultPlan> commonFaults;
    std::shared_ptr<FaultPlan> recorderFaults = nullptr; ///< null outside of a recorder
    std::string recorderName = "-";                      ///< that of its folder

private:
    bool isEmptied(const char *operation) const;
};

} // namespace simulator
