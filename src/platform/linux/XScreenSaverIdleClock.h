#pragma once

#include "platform/IdleClock.h"
#include "platform/linux/X11Connection.h"

namespace plenda {

// Seconds since the last keyboard or pointer input, from the X server's
// screen-saver extension; 0 when the server lacks it.
class XScreenSaverIdleClock final : public IdleClock {
public:
    explicit XScreenSaverIdleClock(X11Connection& x11);
    double secondsSinceLastInput() const override;

private:
    X11Connection& x11_;
    bool available_ = false;
};

}  // namespace plenda
