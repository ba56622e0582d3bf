#pragma once

#include <string>

namespace plenda {

// The one short duration text of the day views: "<1m", "45m", "2h", "1h 5m".
// Not localized; a non-finite value reads "—".
std::string formatDuration(double minutes);

}  // namespace plenda
