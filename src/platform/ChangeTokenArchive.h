#pragma once

#include "platform/CloudDatabase.h"
#include "platform/Defaults.h"

#include <optional>

namespace plenda {

// Turns a zone's change token into bytes for the user defaults and back:
// keyed archiving with secure coding on macOS, the token's own bytes elsewhere.
class ChangeTokenArchive {
public:
    virtual ~ChangeTokenArchive() = default;
    // None when the token cannot be archived.
    virtual std::optional<Data> archive(const CloudChangeToken& token) const = 0;
    // Null when the bytes are not an archived token of this platform.
    virtual CloudChangeTokenPtr unarchive(const Data& bytes) const = 0;
};

}  // namespace plenda
