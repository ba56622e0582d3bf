// Plenda: the application, or `plenda report` for the day's activities.
#include "app/DayReport.h"
#include "app/PlendaMacApp.h"

#include <cstdio>
#include <string_view>

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    if (argc > 1 && std::string_view(argv[1]) == "report") return plenda::runDayReport(argc - 1, argv + 1);
    plenda::PlendaMacApp app(argc, argv);
    return app.run();
}
