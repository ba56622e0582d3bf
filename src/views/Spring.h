#pragma once

namespace plenda {

// The step response of a damped spring, as the system's spring animations
// define it: `response` is the period of the undamped oscillation in seconds,
// `damping` the damping fraction (below 1 it overshoots a little). Goes from
// 0 at t = 0 towards 1.
double springProgress(double seconds, double response, double damping);
// Whether the spring has come to rest within `epsilon` of 1.
bool springSettled(double seconds, double response, double damping, double epsilon = 0.001);

}  // namespace plenda
