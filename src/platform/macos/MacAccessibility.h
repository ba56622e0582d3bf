#pragma once

#include "platform/Accessibility.h"

namespace plenda {

// The accessibility API: the trust test and prompt, and the focused window's
// title of another application, with the API's own error codes.
class MacAccessibility final : public Accessibility {
public:
    bool isTrusted() const override;
    bool requestTrust() override;
    FocusedWindowTitle focusedWindowTitle(int processIdentifier) override;
};

}  // namespace plenda
