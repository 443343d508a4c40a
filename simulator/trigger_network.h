#pragma once

#include "hardware/library/trigger.h"

#include <cstdint>
#include <mutex>
#include <optional>

namespace simulator {

class Recorder;

enum class TriggerSource
{
    External,
    Software
};

/// What leads to an input of the record control element.
struct TriggerInput
{
    std::optional<TriggerSource> source;
    bool falling = false; ///< an external source fires when its level falls, not when it rises

    /// Whether \a from, whose level becomes \a high, fires this input.
    bool isFiredBy(TriggerSource from, bool high) const;
};

/// The settings of the record control element. Booleans are 0 or 1, times are microseconds.
struct RecordControl
{
    uint64_t startEnable = 0;
    uint64_t stopEnable = 0;
    uint64_t pretriggerEnable = 0;
    uint64_t pretriggerTime = 0;
    uint64_t softwareStartTrigger = 0;
    uint64_t stopCountEnable = 0;
    uint64_t stopCount = 0;
    uint64_t stopTimeEnable = 0;
    uint64_t stopTime = 0;
    TriggerInput startInput;
    TriggerInput stopInput;
};

/// The trigger network of a recorder. Any thread.
class TriggerNetwork final : public Quillon::TriggerBank
{
public:
    explicit TriggerNetwork(Recorder &recorder);
    TriggerNetwork(const TriggerNetwork &) = delete;
    TriggerNetwork &operator=(const TriggerNetwork &) = delete;
    virtual ~TriggerNetwork();

    boost::shared_ptr<Quillon::TriggerElement> element(uint32_t kind, uint32_t index) override;

    // What follows is for the library itself.

    RecordControl control() const;
    void set(uint64_t RecordControl::*setting, uint64_t value);
    void connect(TriggerInput RecordControl::*input, const TriggerInput &connection);

    /// Forgets all settings and connections.
    void reset();

    /// Called on each change of the external input's level.
    void externalInputChanged(bool high);

private:
    Recorder &recorder_;
    mutable std::mutex mutex_;
    RecordControl control_;
};

} // namespace simulator
