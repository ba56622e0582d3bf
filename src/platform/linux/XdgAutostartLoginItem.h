#pragma once

#include "platform/LoginItem.h"

#include <string>

namespace plenda {

// A desktop entry in the XDG autostart folder (~/.config/autostart, or
// $XDG_CONFIG_HOME/autostart) that starts `executable` at login. An entry
// the user disabled with Hidden=true counts as not enabled.
class XdgAutostartLoginItem final : public LoginItem {
public:
    XdgAutostartLoginItem(std::string autostartFolder, std::string executable);
    // The current user's autostart folder and this process's executable.
    static XdgAutostartLoginItem forCurrentUser();

    bool isEnabled() const override;
    std::optional<std::string> registerItem() override;
    std::optional<std::string> unregisterItem() override;

    std::string entryPath() const { return folder_ + "/plenda.desktop"; }

private:
    std::string folder_;
    std::string executable_;
};

}  // namespace plenda
