#include "platform/qt/QtScreens.h"

#include "base/NumberText.h"

#include <QGuiApplication>
#include <QObject>
#include <QScreen>

#include <algorithm>
#include <cstdlib>

namespace plenda {

namespace {

std::optional<double> number(std::string_view text) { return parseDecimal(text); }

}  // namespace

QtScreens::QtScreens() {
    if (const char* text = std::getenv("PLENDA_FAKE_NOTCH")) fakeNotch_ = parseFakeNotch(text);
}

std::optional<QtScreens::FakeNotch> QtScreens::parseFakeNotch(std::string_view text) {
    const auto by = text.find('x');
    const auto at = text.find('@');
    if (by == std::string_view::npos || at == std::string_view::npos || at < by) return std::nullopt;
    const auto width = number(text.substr(0, by));
    const auto height = number(text.substr(by + 1, at - by - 1));
    const auto x = number(text.substr(at + 1));
    if (!width || !height || !x || *width <= 0 || *height <= 0 || *x < 0) return std::nullopt;
    return FakeNotch{*width, *height, *x};
}

void QtScreens::addNotch(ScreenInfo& screen, const FakeNotch& notch) {
    const Frame& f = screen.frame;
    const double left = f.x + std::min(notch.x, std::max(0.0, f.width - notch.width));
    const double y = f.maxY() - notch.height;
    screen.auxiliaryTopLeftArea = Frame{f.x, y, left - f.x, notch.height};
    screen.auxiliaryTopRightArea = Frame{left + notch.width, y, f.maxX() - left - notch.width, notch.height};
}

std::vector<ScreenInfo> QtScreens::screens() const {
    std::vector<ScreenInfo> result;
    const QList<QScreen*> all = QGuiApplication::screens();
    if (all.isEmpty()) return result;
    // Qt's y grows downward from the primary screen's top; flip around it.
    const double primaryHeight = QGuiApplication::primaryScreen()->geometry().height();
    for (const QScreen* screen : all) {
        const QRect g = screen->geometry();
        ScreenInfo info;
        info.frame = Frame{double(g.x()), primaryHeight - g.y() - g.height(), double(g.width()), double(g.height())};
        result.push_back(info);
    }
    if (fakeNotch_) addNotch(result.front(), *fakeNotch_);
    return result;
}

Subscription QtScreens::onChange(std::function<void()> changed) {
    auto* app = qGuiApp;
    if (!app) return {};
    auto* context = new QObject(app);
    const auto notify = [changed] { changed(); };
    QObject::connect(app, &QGuiApplication::screenAdded, context, notify, Qt::QueuedConnection);
    QObject::connect(app, &QGuiApplication::screenRemoved, context, notify, Qt::QueuedConnection);
    QObject::connect(app, &QGuiApplication::primaryScreenChanged, context, notify, Qt::QueuedConnection);
    for (QScreen* screen : QGuiApplication::screens()) {
        QObject::connect(screen, &QScreen::geometryChanged, context, notify, Qt::QueuedConnection);
    }
    return Subscription([context] { delete context; });
}

}  // namespace plenda
