#pragma once

class QWidget;

namespace plenda {

// Before a window is shown: if it would not lie wholly on the screen under the
// pointer (another screen, partly off it, or taller than it), it is fitted to
// that screen's free area and centred there; so is a window never placed
// before. A window already wholly there stays where the user left it.
void placeWhollyOnPointerScreen(QWidget& window);

}  // namespace plenda
