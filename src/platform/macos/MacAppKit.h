#pragma once

namespace plenda {

// NSApplication activateIgnoringOtherApps:YES.
void macActivateIgnoringOtherApps();
// `nsView` is the panel's content NSView (a Qt window id on macOS). Makes its
// window a non-activating, transparent panel at the status-window level (25)
// that joins all spaces, stays put, skips window cycling and shows over
// full-screen applications (collection behaviour 337).
void macConfigureNotchPanel(void* nsView);
// `nsView` is the day window's content NSView. Lets the content reach under
// the title bar, which turns transparent (a full-size content view), and
// returns the height the title bar covers at the content's top, in points.
double macConfigureDayWindow(void* nsView);

}  // namespace plenda
