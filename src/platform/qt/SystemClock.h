#pragma once

#include "platform/Clock.h"

namespace plenda {

class SystemClock final : public Clock {
public:
    Date now() const override;
    double monotonicSeconds() const override;
};

}  // namespace plenda
