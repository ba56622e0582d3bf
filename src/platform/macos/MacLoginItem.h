#pragma once

#include "platform/LoginItem.h"

namespace plenda {

// The application itself as a login item (SMAppService mainAppService).
class MacLoginItem final : public LoginItem {
public:
    bool isEnabled() const override;
    std::optional<std::string> registerItem() override;
    std::optional<std::string> unregisterItem() override;
};

}  // namespace plenda
