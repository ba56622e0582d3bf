#pragma once

#include "base/Observers.h"

#include <QObject>

#include <xcb/xcb.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QSocketNotifier;

namespace plenda {

// One connection of our own to the X server, read from Qt's event loop as its
// socket becomes readable. Errors come back per request (no global error
// handler), so a window that vanished mid-query is just a failed read.
class X11Connection : public QObject {
public:
    // Connects to $DISPLAY; `isOpen()` tells whether that worked.
    X11Connection();
    ~X11Connection() override;

    bool isOpen() const { return connection_ != nullptr; }
    xcb_connection_t* native() const { return connection_; }
    xcb_window_t root() const { return root_; }

    xcb_atom_t atom(const char* name);
    // Adds `mask` to the events this connection receives from `window`.
    void selectEvents(xcb_window_t window, uint32_t mask);

    // A 32-bit property (window ids, cardinals); nothing when absent or on error.
    std::optional<std::vector<uint32_t>> cardinals(xcb_window_t window, xcb_atom_t property,
                                                   xcb_atom_t type = XCB_ATOM_ANY);
    struct Text {
        std::string bytes;
        xcb_atom_t type = XCB_ATOM_NONE;
    };
    // An 8-bit property as it is; nothing when absent. `error` receives the
    // X error code when the request failed (a vanished window: 3).
    std::optional<Text> bytes(xcb_window_t window, xcb_atom_t property, int* error = nullptr);

    std::optional<xcb_window_t> activeWindow();
    std::optional<int> processIdentifier(xcb_window_t window);
    std::vector<xcb_window_t> clientWindows();

    // Called for every event, on the main thread.
    using EventHandler = std::function<void(const xcb_generic_event_t&)>;
    Subscription onEvent(EventHandler handler);
    // A reply may have pulled events off the socket into xcb's queue, where
    // the socket notifier cannot see them: hand them out in a later turn.
    void drainLater();

private:
    void drain();

    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    std::map<std::string, xcb_atom_t> atoms_;
    std::shared_ptr<std::map<int, EventHandler>> handlers_ = std::make_shared<std::map<int, EventHandler>>();
    int nextHandler_ = 0;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace plenda
