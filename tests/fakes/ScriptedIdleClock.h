#pragma once

#include "platform/Clock.h"
#include "platform/IdleClock.h"

namespace plenda {

// Idle time on a (virtual) clock: the seconds since the last `touch`.
class ScriptedIdleClock final : public IdleClock {
public:
    explicit ScriptedIdleClock(const Clock& clock) : clock_(clock), lastInput_(clock.now()) {}

    double secondsSinceLastInput() const override { return clock_.now() - lastInput_; }
    // Input happened now.
    void touch() { lastInput_ = clock_.now(); }
    // The last input lies `seconds` before now.
    void setIdleSeconds(double seconds) { lastInput_ = clock_.now() - seconds; }

private:
    const Clock& clock_;
    Date lastInput_;
};

}  // namespace plenda
