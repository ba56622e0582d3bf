// Build tool: draws the app's SVG icon as the PNG sizes a Linux desktop's
// icon theme looks for.
//   plenda_render_icon ICON.svg OUT-FOLDER SIZE...   -> OUT-FOLDER/SIZExSIZE/apps/plenda.png
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr, "usage: plenda_render_icon ICON.svg OUT-FOLDER SIZE...\n");
        return 2;
    }
    QSvgRenderer svg(arguments[1]);
    if (!svg.isValid()) {
        std::fprintf(stderr, "plenda_render_icon: cannot read %s\n", qPrintable(arguments[1]));
        return 1;
    }
    for (const QString& size : arguments.mid(3)) {
        const int pixels = size.toInt();
        QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        svg.render(&painter);
        painter.end();
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(arguments[2]).arg(pixels);
        if (!QDir().mkpath(folder) || !image.save(folder + "/plenda.png")) {
            std::fprintf(stderr, "plenda_render_icon: cannot write %s\n", qPrintable(folder));
            return 1;
        }
    }
    return 0;
}
