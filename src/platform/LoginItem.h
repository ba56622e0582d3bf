#pragma once

#include <optional>
#include <string>

namespace plenda {

// Starting the application itself when the user logs in.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    // True exactly when the login item is currently enabled.
    virtual bool isEnabled() const = 0;
    // Register or unregister; the error's description on failure.
    virtual std::optional<std::string> registerItem() = 0;
    virtual std::optional<std::string> unregisterItem() = 0;
};

}  // namespace plenda
