#pragma once

#include "base/Date.h"

namespace plenda {

class Clock {
public:
    virtual ~Clock() = default;
    virtual Date now() const = 0;
};

}  // namespace plenda
