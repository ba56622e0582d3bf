// The day window's whole redraw path over a million blocks (27 years of
// heavy use): day query, folding, treemap layout and painting offscreen; the
// same for the week and the month, and their queries alone.
#include "SyntheticBlocks.h"

#include "fakes/KeyStringTable.h"
#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "fakes/VirtualScheduler.h"
#include "model/MacActivityStore.h"
#include "model/MacDayBlockJson.h"
#include "platform/IcuCalendar.h"
#include "views/ActivitySummaries.h"
#include "ui/BundledIconProvider.h"
#include "ui/TodayView.h"
#include "views/PeriodOverview.h"
#include "views/TreemapLayout.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <benchmark/benchmark.h>

#include <memory>

namespace plenda {
namespace {

constexpr int days = 10000;
constexpr int blocksPerDay = 100;  // 1,000,000 blocks

// Years of realistic days, loaded the way the app loads its file.
struct Decade {
    VirtualScheduler scheduler;
    IcuCalendar calendar{"Europe/Berlin"};
    MemoryDefaults defaults;
    MemoryFiles files;
    KeyStringTable strings;
    std::unique_ptr<MacActivityStore> store;
    BundledIconProvider icons;

    Decade() : scheduler(Date(0)) {
        const Date first(694224000.0);  // 2023-01-01
        const auto blocks = syntheticBlocks(std::size_t(days) * blocksPerDay, first, blocksPerDay, 7);
        files.files["/home/user/.local/share/Plenda/blocks.json"] = *encodeBlocks(blocks);
        defaults.setBool(MacActivityStore::didSplitKey, true);
        scheduler.advanceTo(first + (days - 1) * 86400.0 + 20 * 3600.0);
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, scheduler, calendar, defaults, files, strings, true, &Uuid::random});
    }
};

Decade& decade() {
    static Decade instance;
    return instance;
}

void BM_DayFoldingAndLayout(benchmark::State& state) {
    Decade& d = decade();
    for (auto _ : state) {
        const auto summaries = makeSummaries(d.store->blocksOnDay(d.store->selectedDate()));
        const auto tiles = treemapTiles(treemapSummaries(summaries, "Other"), 672, 235.2, 4);
        benchmark::DoNotOptimize(tiles.data());
    }
    state.counters["blocks"] = double(d.store->blockCount());
}
BENCHMARK(BM_DayFoldingAndLayout)->Unit(benchmark::kMillisecond);

void BM_PeriodQuery(benchmark::State& state) {
    Decade& d = decade();
    const auto period = Period(state.range(0));
    for (auto _ : state) {
        const auto overview = periodOverview(*d.store, d.calendar, period, d.store->selectedDate());
        benchmark::DoNotOptimize(overview.minutes);
    }
    state.counters["blocks"] = double(d.store->blockCount());
}
BENCHMARK(BM_PeriodQuery)->Arg(int(Period::week))->Arg(int(Period::month))->Unit(benchmark::kMillisecond);

// Arguments: width, height, and the period shown (day, week, month).
void BM_DayWindowRedraw(benchmark::State& state) {
    Decade& d = decade();
    const QSize size(int(state.range(0)), int(state.range(1)));
    TodayView view(*d.store, d.scheduler, d.calendar, d.icons, {});
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.show();
    view.resize(size);
    view.showPeriod(Period(state.range(2)));
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        view.reload();
        QPainter painter(&image);
        view.render(&painter);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
    state.counters["blocks"] = double(d.store->blockCount());
}
BENCHMARK(BM_DayWindowRedraw)
    ->Args({720, 560, int(Period::day)})->Args({1200, 900, int(Period::day)})
    ->Args({720, 560, int(Period::week)})->Args({720, 560, int(Period::month)})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace plenda
