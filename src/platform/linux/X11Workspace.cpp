#include "platform/linux/X11Workspace.h"

#include "base/Text.h"

#include <unistd.h>

#include <algorithm>

namespace plenda {

template <typename F>
Subscription X11Workspace::Handlers<F>::add(F handler) {
    const int key = next++;
    list->emplace(key, std::move(handler));
    return Subscription([weak = std::weak_ptr(list), key] {
        if (auto handlers = weak.lock()) handlers->erase(key);
    });
}

template <typename F>
template <typename... A>
void X11Workspace::Handlers<F>::call(const A&... arguments) const {
    const auto snapshot = *list;  // a handler may unsubscribe
    for (const auto& [key, handler] : snapshot) handler(arguments...);
}

X11Workspace::X11Workspace(X11Connection& x11, DesktopEntries entries, std::string ownBundleIdentifier)
    : x11_(x11),
      entries_(std::move(entries)),
      ownBundleIdentifier_(std::move(ownBundleIdentifier)),
      sleepWatcher_([this] { willSleep_.call(); }, [this] { didWake_.call(); }) {
    if (!x11_.isOpen()) return;
    activeWindowAtom_ = x11_.atom("_NET_ACTIVE_WINDOW");
    lastWindow_ = x11_.activeWindow();
    if (lastWindow_) lastApplication_ = describe(*lastWindow_);
    events_ = x11_.onEvent([this](const xcb_generic_event_t& event) {
        if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) return;
        const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (notify.window == x11_.root() && notify.atom == activeWindowAtom_) activeWindowChanged();
    });
    x11_.selectEvents(x11_.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
}

void X11Workspace::activeWindowChanged() {
    // Window managers clear the property between switches and sometimes
    // repeat a value: neither is an activation.
    const auto window = x11_.activeWindow();
    if (!window || window == lastWindow_) return;
    lastWindow_ = window;
    const RunningApplication app = describe(*window);
    if (app == lastApplication_) return;  // another window of the same application
    lastApplication_ = app;
    activation_.call(app);
}

RunningApplication X11Workspace::describe(xcb_window_t window) const {
    RunningApplication app;
    app.processIdentifier = x11_.processIdentifier(window).value_or(0);
    // Our own windows carry our own id, whatever desktop entries say, so
    // Plenda never records itself.
    if (app.processIdentifier == ::getpid()) {
        app.bundleIdentifier = ownBundleIdentifier_;
        app.localizedName = "Plenda";
        return app;
    }
    std::string instance, windowClass;
    if (const auto wmClass = x11_.bytes(window, XCB_ATOM_WM_CLASS)) {
        const std::string& bytes = wmClass->bytes;
        const auto split = bytes.find('\0');
        instance = bytes.substr(0, split);
        if (split != std::string::npos) windowClass = bytes.substr(split + 1, bytes.find('\0', split + 1) - split - 1);
    }
    std::optional<std::string> announced;
    for (const char* property : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE"}) {
        if (const auto value = x11_.bytes(window, x11_.atom(property)); value && !value->bytes.empty()) {
            announced = value->bytes.substr(0, value->bytes.find('\0'));
            break;
        }
    }
    if (const auto entry = entries_.find(announced, instance, windowClass)) {
        app.bundleIdentifier = nfc(entry->id);
        app.localizedName = entry->name;
    } else if (const std::string& name = windowClass.empty() ? instance : windowClass; !name.empty()) {
        app.bundleIdentifier = nfc(name);
        app.localizedName = nfc(name);
    }
    return app;
}

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
    if (!x11_.isOpen()) return std::nullopt;
    const auto window = x11_.activeWindow();
    if (!window) return std::nullopt;
    return describe(*window);
}

std::vector<RunningApplication> X11Workspace::runningApplications() const {
    std::vector<RunningApplication> apps;
    if (!x11_.isOpen()) return apps;
    for (xcb_window_t window : x11_.clientWindows()) {
        RunningApplication app = describe(window);
        if (std::find(apps.begin(), apps.end(), app) == apps.end()) apps.push_back(std::move(app));
    }
    return apps;
}

Subscription X11Workspace::observeActivation(std::function<void(const RunningApplication&)> handler) {
    return activation_.add(std::move(handler));
}
Subscription X11Workspace::observeWillSleep(std::function<void()> handler) { return willSleep_.add(std::move(handler)); }
Subscription X11Workspace::observeDidWake(std::function<void()> handler) { return didWake_.add(std::move(handler)); }

}  // namespace plenda
