// Plenda: the application; `plenda report` prints a day's activities,
// `plenda screenshot FILE` saves the display as a picture, --help and
// --version print and exit without starting anything.
#include "app/DayReport.h"
#include "app/PlendaMacApp.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <cstdio>
#include <iostream>
#include <string_view>

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "--version") {
        std::cout << "Plenda " PLENDA_VERSION "\n";
        return 0;
    }
    if (first == "--help" || first == "-h") {
        std::cout << "usage: plenda                 start Plenda (or bring the running one's day window forward)\n"
                     "       plenda report [--date YYYY-MM-DD] [--json] [--png FILE] [--size WxH] [--blocks FILE]\n"
                     "       plenda --version\n";
        return 0;
    }
    if (first == "report") return plenda::runDayReport(argc - 1, argv + 1);
    if (argc == 3 && std::string_view(argv[1]) == "screenshot") {
        // The whole display as a picture, for the demo run on a virtual display.
        QGuiApplication app(argc, argv);
        const bool saved = QGuiApplication::primaryScreen()->grabWindow(0).save(QString::fromLocal8Bit(argv[2]));
        if (!saved) std::cerr << "plenda screenshot: cannot write " << argv[2] << "\n";
        return saved ? 0 : 1;
    }
    plenda::PlendaMacApp app(argc, argv);
    return app.run();
}
