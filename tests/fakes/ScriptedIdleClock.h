#pragma once

#include "platform/Clock.h"
#include "platform/IdleClock.h"

#include <optional>

namespace plenda {

// Idle time on a (virtual) clock: the seconds since the last `touch`, or none
// at all while the user keeps working. Like the system's, it counts time that
// passed, not what the wall clock says.
class ScriptedIdleClock final : public IdleClock {
public:
    explicit ScriptedIdleClock(const Clock& clock) : clock_(clock), lastInput_(clock.monotonicSeconds()) {}

    double secondsSinceLastInput() const override { return lastInput_ ? clock_.monotonicSeconds() - *lastInput_ : 0; }
    // Input happened now.
    void touch() { lastInput_ = clock_.monotonicSeconds(); }
    // The last input lies `seconds` before now.
    void setIdleSeconds(double seconds) { lastInput_ = clock_.monotonicSeconds() - seconds; }
    // Input all the time from now on.
    void keepWorking() { lastInput_.reset(); }

private:
    const Clock& clock_;
    std::optional<double> lastInput_;
};

}  // namespace plenda
