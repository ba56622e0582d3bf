#include "ui/WindowPlacement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace plenda {

void placeWhollyOnPointerScreen(QWidget& window) {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect room = screen->availableGeometry();
    // Before the first show the frame is not known and equals the content.
    const QRect content = window.geometry();
    const QRect frame = window.frameGeometry();
    if (room.contains(frame) && window.testAttribute(Qt::WA_Moved)) return;
    const QMargins decoration(content.left() - frame.left(), content.top() - frame.top(),
                              frame.right() - content.right(), frame.bottom() - content.bottom());
    const QSize fits = (room.size() - QSize(decoration.left() + decoration.right(),
                                            decoration.top() + decoration.bottom()))
                           .expandedTo(window.minimumSize());
    window.resize(content.size().boundedTo(fits));
    const QSize outer = window.size() + QSize(decoration.left() + decoration.right(),
                                              decoration.top() + decoration.bottom());
    const QPoint corner = room.center() - QPoint(outer.width() / 2, outer.height() / 2);
    window.move(std::max(room.left(), corner.x()), std::max(room.top(), corner.y()));
}

}  // namespace plenda
