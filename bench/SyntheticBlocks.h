#pragma once

#include "model/MacDayBlock.h"

#include <cstdint>
#include <vector>

namespace plenda {

// Years of realistic tracked blocks, about `perDay` a day between 07:00 and
// 23:00 UTC, with the titles people really have (apps, sites, projects), so
// that file sizes and title distributions look like a real diary.
std::vector<MacDayBlock> syntheticBlocks(std::size_t count, Date firstDay, int perDay = 100,
                                         std::uint64_t seed = 42);

}  // namespace plenda
