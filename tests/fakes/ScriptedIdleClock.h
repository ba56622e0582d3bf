#pragma once

#include "platform/Clock.h"
#include "platform/IdleClock.h"

#include <optional>

namespace plenda {

// Idle time on a (virtual) clock: the seconds since the last `touch`, or none
// at all while the user keeps working.
class ScriptedIdleClock final : public IdleClock {
public:
    explicit ScriptedIdleClock(const Clock& clock) : clock_(clock), lastInput_(clock.now()) {}

    double secondsSinceLastInput() const override { return lastInput_ ? clock_.now() - *lastInput_ : 0; }
    // Input happened now.
    void touch() { lastInput_ = clock_.now(); }
    // The last input lies `seconds` before now.
    void setIdleSeconds(double seconds) { lastInput_ = clock_.now() - seconds; }
    // Input all the time from now on.
    void keepWorking() { lastInput_.reset(); }

private:
    const Clock& clock_;
    std::optional<Date> lastInput_;
};

}  // namespace plenda
