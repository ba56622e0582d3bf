#pragma once

#include "views/LayoutRect.h"
#include "views/MacActivitySummary.h"

#include <vector>

namespace plenda {

// Squarified treemap: one rectangle per weight, in the weights' order. Rows
// run along the shorter side; nothing is placed for no weights, a total not
// above zero, or an empty rectangle (then every item gets a zero rectangle,
// except a lone item, which gets the whole rectangle).
std::vector<LayoutRect> squarifiedLayout(const std::vector<double>& weights, LayoutRect bounds);

// Minutes, raised to 0.1 so an empty activity still gets a sliver.
std::vector<double> treemapWeights(const std::vector<MacActivitySummary>& summaries);

// One tile: the summary, its layout rectangle (`size` is that rectangle's
// size) and the frame it is drawn in, which leaves the spacing to its right
// and below.
struct TreemapTile {
    MacActivitySummary summary;
    LayoutRect rect;
    LayoutRect frame;

    double width() const { return rect.width; }
    double height() const { return rect.height; }
    bool showsTitle() const;
    bool showsDuration() const;
};

// Label rules look at the layout rectangle, not the drawn frame.
bool tileShowsTitle(double width, double height);
bool tileShowsDuration(double width, double height);

std::vector<TreemapTile> treemapTiles(const std::vector<MacActivitySummary>& summaries, double width,
                                      double height, double spacing);

}  // namespace plenda
