// Weights no real session makes, as they may arrive from a damaged file or
// the cloud: totals and the treemap stay finite, so nothing paints NaN.
#include "views/ActivitySummaries.h"
#include "views/TreemapLayout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace plenda {
namespace {

TEST(HostileWeights, TotalsAndTilesStayFiniteForEveryFiniteWeight) {
    for (const double weight : {1.7e308, -1.7e308, 1e-300}) {
        SCOPED_TRACE(weight);
        std::vector<MacDayBlock> blocks;
        for (const char* title : {"A", "A", "A", "B", "C"}) {
            MacDayBlock block;
            block.id = Uuid::random();
            block.title = title;
            block.weight = weight;
            blocks.push_back(block);
        }
        const auto summaries = makeSummaries(blocks);
        for (const auto& summary : summaries) EXPECT_TRUE(std::isfinite(summary.minutes)) << summary.title;
        for (const auto& tile : treemapTiles(treemapSummaries(summaries, "Other"), 400, 300, 8)) {
            for (const double value : {tile.frame.x, tile.frame.y, tile.frame.width, tile.frame.height}) {
                EXPECT_TRUE(std::isfinite(value)) << tile.summary.title;
            }
        }
    }
}

}  // namespace
}  // namespace plenda
