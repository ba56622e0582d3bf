#pragma once

#include "platform/StringTable.h"

#include <QString>

namespace plenda {

// Texts from the id-based Qt translation (qtTrId); a missing id gives the id.
// Off macOS a key's "@linux" variant, where the table has one, replaces the
// Mac wording (iCloud, the menu bar, "this Mac") that would be untrue there.
class QtStringTable final : public StringTable {
public:
    std::string text(std::string_view key) const override;
    static QString lookup(std::string_view key);
};

}  // namespace plenda
