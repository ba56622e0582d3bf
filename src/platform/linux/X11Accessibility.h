#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/X11Connection.h"

namespace plenda {

// Window titles on X11, readable by every client: always trusted. The window
// of a process is the active window when it belongs to that process, else its
// first window in the window manager's client list.
class X11Accessibility final : public Accessibility {
public:
    explicit X11Accessibility(X11Connection& x11) : x11_(x11) {}

    bool isTrusted() const override { return true; }
    bool requestTrust() override { return true; }
    FocusedWindowTitle focusedWindowTitle(int processIdentifier) override;

private:
    X11Connection& x11_;
};

// A window-name property's bytes as UTF-8: UTF8_STRING as it is, STRING as
// Latin-1, COMPOUND_TEXT by its Latin-1 and UTF-8 segments.
std::string windowTextAsUtf8(const std::string& bytes, bool isUtf8, bool isCompoundText);

}  // namespace plenda
