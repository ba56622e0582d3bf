#include "platform/linux/XScreenSaverIdleClock.h"

#include <xcb/screensaver.h>

#include <cstdlib>
#include <memory>

namespace plenda {

XScreenSaverIdleClock::XScreenSaverIdleClock(X11Connection& x11) : x11_(x11) {
    if (!x11_.isOpen()) return;
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(x11_.native(), &xcb_screensaver_id);
    available_ = extension && extension->present;
}

double XScreenSaverIdleClock::secondsSinceLastInput() const {
    if (!available_) return 0;
    xcb_connection_t* connection = x11_.native();
    std::unique_ptr<xcb_screensaver_query_info_reply_t, decltype(&std::free)> reply(
        xcb_screensaver_query_info_reply(connection, xcb_screensaver_query_info(connection, x11_.root()), nullptr),
        &std::free);
    x11_.drainLater();
    return reply ? reply->ms_since_user_input / 1000.0 : 0;
}

}  // namespace plenda
