#include "platform/macos/MacIdleClock.h"

#include "platform/macos/Arc.h"

#import <CoreGraphics/CoreGraphics.h>

#include <cmath>

namespace plenda {

double MacIdleClock::secondsSinceLastInput() const {
    const double seconds =
        CGEventSourceSecondsSinceLastEventType(kCGEventSourceStateCombinedSessionState, kCGAnyInputEventType);
    return std::isfinite(seconds) && seconds > 0 ? seconds : 0;
}

}  // namespace plenda
