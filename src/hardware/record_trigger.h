#pragma once

#include "hardware/library/device.h"

#include <cstdint>

namespace tavu {

/// How a recording starts and ends. The counts are in the library's units.
struct RecordProgram
{
    uint8_t externalTrigger; ///< flags of the external input; 0: it plays no part
    uint8_t type;            ///< what \a count limits: 1 frames, 2 time, others nothing
    uint64_t count;
    bool usePretrigger;
    uint64_t pretriggerCount;
};

/// The element of a recorder's trigger bank that controls recordings. Holds the library's handles.
class RecordTrigger
{
public:
    explicit RecordTrigger(Quillon::Device &recorder);

    /// Sets parameter by parameter, in the recorder's order.
    void program(const RecordProgram &program);
    /// Starts a recording that fills its pretrigger. The next program with a pretrigger takes this
    /// back.
    void fire();

private:
    void programStart(const RecordProgram &program);
    void programStop(const RecordProgram &program);
    void programInput(const boost::shared_ptr<Quillon::TriggerElement> &external, uint32_t input,
                      const char *enableName, bool enabled, bool variant);
    void set(const char *name, const Quillon::ParameterValue &value);
    void setFlag(const char *name, bool value);
    void setNumber(const char *name, uint64_t value);

    const boost::shared_ptr<Quillon::TriggerBank> bank_;
    const boost::shared_ptr<Quillon::TriggerElement> control_;
};

} // namespace tavu
