#pragma once

#include "platform/IdleClock.h"

namespace plenda {

// Seconds since the last input event of any kind in the login session.
class MacIdleClock final : public IdleClock {
public:
    double secondsSinceLastInput() const override;
};

}  // namespace plenda
