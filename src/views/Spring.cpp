#include "views/Spring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace plenda {

double springProgress(double t, double response, double damping) {
    if (t <= 0) return 0;
    const double omega = 2 * std::numbers::pi / response;
    const double decay = std::exp(-damping * omega * t);
    if (damping >= 1) return 1 - decay * (1 + omega * t);
    const double omegaD = omega * std::sqrt(1 - damping * damping);
    return 1 - decay * (std::cos(omegaD * t) + damping * omega / omegaD * std::sin(omegaD * t));
}

bool springSettled(double t, double response, double damping, double epsilon) {
    // The envelope bounds every later swing, so once it is small we are done.
    const double omega = 2 * std::numbers::pi / response;
    const double envelope = std::exp(-damping * omega * t) / std::sqrt(std::max(1e-9, 1 - std::min(damping, 0.999) * std::min(damping, 0.999)));
    return envelope < epsilon;
}

}  // namespace plenda
