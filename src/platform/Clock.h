#pragma once

#include "base/Date.h"

namespace plenda {

class Clock {
public:
    virtual ~Clock() = default;
    virtual Date now() const = 0;
    // Seconds on a clock that moves only with real time, whatever is done to
    // the wall clock; its origin means nothing.
    virtual double monotonicSeconds() const = 0;
};

}  // namespace plenda
