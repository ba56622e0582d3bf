#pragma once

#include "platform/StringTable.h"

namespace plenda {

// Answers every key with the key itself, so tests can assert on keys.
class KeyStringTable final : public StringTable {
public:
    std::string text(std::string_view key) const override { return std::string(key); }
};

}  // namespace plenda
