#include "platform/linux/X11Connection.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <cstdlib>
#include <cstring>

namespace plenda {

namespace {
template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;
}

X11Connection::X11Connection() {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    connection_ = connection;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber && screens.rem; ++i) xcb_screen_next(&screens);
    root_ = screens.data->root;

    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { drain(); });
}

X11Connection::~X11Connection() {
    notifier_.reset();
    if (connection_) xcb_disconnect(connection_);
}

void X11Connection::drain() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        Reply<xcb_generic_event_t> owned(event, &std::free);
        const auto handlers = *handlers_;  // a handler may unsubscribe
        for (const auto& [key, handler] : handlers) handler(*event);
    }
}

Subscription X11Connection::onEvent(EventHandler handler) {
    const int key = nextHandler_++;
    handlers_->emplace(key, std::move(handler));
    return Subscription([weak = std::weak_ptr(handlers_), key] {
        if (auto handlers = weak.lock()) handlers->erase(key);
    });
}

void X11Connection::drainLater() {
    QMetaObject::invokeMethod(this, [this] { drain(); }, Qt::QueuedConnection);
}

xcb_atom_t X11Connection::atom(const char* name) {
    if (const auto found = atoms_.find(name); found != atoms_.end()) return found->second;
    Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, std::strlen(name), name), nullptr),
        &std::free);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    atoms_.emplace(name, value);
    return value;
}

void X11Connection::selectEvents(xcb_window_t window, uint32_t mask) {
    Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr),
        &std::free);
    const uint32_t value = (attributes ? attributes->your_event_mask : 0) | mask;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &value);
    xcb_flush(connection_);
}

std::optional<std::vector<uint32_t>> X11Connection::cardinals(xcb_window_t window, xcb_atom_t property,
                                                              xcb_atom_t type) {
    Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_, xcb_get_property(connection_, 0, window, property, type, 0, 1024),
                               nullptr),
        &std::free);
    drainLater();
    if (!reply || reply->format != 32 || reply->type == XCB_ATOM_NONE) return std::nullopt;
    const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return std::vector<uint32_t>(values, values + xcb_get_property_value_length(reply.get()) / 4);
}

std::optional<X11Connection::Text> X11Connection::bytes(xcb_window_t window, xcb_atom_t property, int* error) {
    xcb_generic_error_t* failure = nullptr;
    Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_,
                               xcb_get_property(connection_, 0, window, property, XCB_ATOM_ANY, 0, 1 << 16),
                               &failure),
        &std::free);
    drainLater();
    if (failure) {
        if (error) *error = failure->error_code;
        std::free(failure);
        return std::nullopt;
    }
    if (!reply || reply->format != 8 || reply->type == XCB_ATOM_NONE) return std::nullopt;
    const auto* data = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return Text{std::string(data, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))),
                reply->type};
}

std::optional<xcb_window_t> X11Connection::activeWindow() {
    const auto values = cardinals(root_, atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW);
    if (!values || values->empty() || values->front() == XCB_WINDOW_NONE) return std::nullopt;
    return values->front();
}

std::optional<int> X11Connection::processIdentifier(xcb_window_t window) {
    const auto values = cardinals(window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
    if (!values || values->empty()) return std::nullopt;
    return static_cast<int>(values->front());
}

std::vector<xcb_window_t> X11Connection::clientWindows() {
    const auto values = cardinals(root_, atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW);
    return values ? std::vector<xcb_window_t>(values->begin(), values->end()) : std::vector<xcb_window_t>{};
}

}  // namespace plenda
