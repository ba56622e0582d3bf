#pragma once

#include "platform/StringTable.h"

namespace plenda {

// Texts from the id-based Qt translation (qtTrId); a missing id gives the id.
class QtStringTable final : public StringTable {
public:
    std::string text(std::string_view key) const override;
};

}  // namespace plenda
