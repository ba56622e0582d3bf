#pragma once

#include <QString>

#include <optional>

namespace plenda {

// The family Qt draws the system font's rounded design with, made available
// on first use; nothing where the system has none. The platform's part in the
// views' text, chosen when the program is built. Main thread only.
std::optional<QString> roundedSystemFamily();

}  // namespace plenda
