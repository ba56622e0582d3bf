#pragma once

#include "platform/Workspace.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/LogindSleepWatcher.h"
#include "platform/linux/X11Connection.h"

#include <map>
#include <memory>

namespace plenda {

// The front application on X11: the window in the root's _NET_ACTIVE_WINDOW,
// followed through PropertyNotify events (nothing is polled). An application
// is known by its desktop-entry id where one fits, else by its WM_CLASS class;
// its name is the entry's Name, else the class. Sleep and wake come from logind.
class X11Workspace final : public Workspace {
public:
    X11Workspace(X11Connection& x11, DesktopEntries entries, std::string ownBundleIdentifier);

    std::optional<RunningApplication> frontmostApplication() const override;
    std::vector<RunningApplication> runningApplications() const override;
    std::optional<std::string> ownBundleIdentifier() const override { return ownBundleIdentifier_; }

    Subscription observeActivation(std::function<void(const RunningApplication&)> handler) override;
    Subscription observeWillSleep(std::function<void()> handler) override;
    Subscription observeDidWake(std::function<void()> handler) override;

    // The application a window belongs to.
    RunningApplication describe(xcb_window_t window) const;

private:
    template <typename F>
    struct Handlers {
        std::shared_ptr<std::map<int, F>> list = std::make_shared<std::map<int, F>>();
        int next = 0;
        Subscription add(F handler);
        template <typename... A>
        void call(const A&... arguments) const;
    };
    void activeWindowChanged();

    X11Connection& x11_;
    DesktopEntries entries_;
    std::string ownBundleIdentifier_;
    xcb_atom_t activeWindowAtom_ = XCB_ATOM_NONE;
    std::optional<xcb_window_t> lastWindow_;
    std::optional<RunningApplication> lastApplication_;
    Handlers<std::function<void(const RunningApplication&)>> activation_;
    Handlers<std::function<void()>> willSleep_;
    Handlers<std::function<void()>> didWake_;
    LogindSleepWatcher sleepWatcher_;
    Subscription events_;
};

}  // namespace plenda
