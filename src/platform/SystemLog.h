#pragma once

#include <string_view>

namespace plenda {

// The operating system's log: one line under a subsystem and a category,
// at the default level and not redacted.
class SystemLog {
public:
    virtual ~SystemLog() = default;
    virtual void write(std::string_view subsystem, std::string_view category, std::string_view line) = 0;
};

}  // namespace plenda
