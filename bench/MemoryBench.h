#pragma once

#include <string>

namespace plenda {

// The child's side of the memory benchmark: loads the store of `folder`,
// records sessions, saves, and prints its steady and peak resident megabytes.
int printMemoryOf(const std::string& folder);

}  // namespace plenda
