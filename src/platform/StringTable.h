#pragma once

#include <string>
#include <string_view>

namespace plenda {

// The application's string table: user-visible texts by key. A missing key
// gives the key itself.
class StringTable {
public:
    virtual ~StringTable() = default;
    virtual std::string text(std::string_view key) const = 0;
};

}  // namespace plenda
