#include "platform/qt/SystemClock.h"

#include <chrono>

namespace plenda {

Date SystemClock::now() const {
    using namespace std::chrono;
    const auto sinceEpoch = duration<double>(system_clock::now().time_since_epoch());
    return Date::fromUnixSeconds(sinceEpoch.count());
}

double SystemClock::monotonicSeconds() const {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace plenda
