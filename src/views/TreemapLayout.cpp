#include "views/TreemapLayout.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace plenda {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

double sum(const std::vector<double>& weights, std::size_t from, std::size_t to) {
    return std::accumulate(weights.begin() + static_cast<std::ptrdiff_t>(from),
                           weights.begin() + static_cast<std::ptrdiff_t>(to), 0.0);
}

// Worst aspect ratio of the row W[from, to) inside q, with `total` the sum of
// everything still to place. Weights are sorted, so the row's first item is
// its largest and its last the smallest.
double worstRatio(const std::vector<double>& weights, std::size_t from, std::size_t to, double total,
                  const LayoutRect& q) {
    const double s = sum(weights, from, to);
    if (!(s > 0)) return infinity;
    const auto [minIt, maxIt] = std::minmax_element(weights.begin() + static_cast<std::ptrdiff_t>(from),
                                                    weights.begin() + static_cast<std::ptrdiff_t>(to));
    const double smallest = *minIt;
    const double largest = *maxIt;
    if (!(smallest > 0)) return infinity;
    const double rowArea = (s / total) * q.width * q.height;
    if (!(rowArea > 0)) return infinity;
    const double side = q.height <= q.width ? q.height : q.width;
    const double thickness = rowArea / side;
    if (!(thickness > 0) || !(side > 0)) return infinity;
    const auto ratio = [&](double weight) {
        const double length = (weight / s) * rowArea / thickness;
        return std::max(thickness / length, length / thickness);
    };
    return std::max(ratio(largest), ratio(smallest));
}

// The longest prefix that does not make the worst ratio grow; a tie grows it.
std::size_t rowEnd(const std::vector<double>& weights, std::size_t from, double total, const LayoutRect& q) {
    std::size_t end = from + 1;
    double current = worstRatio(weights, from, end, total, q);
    for (std::size_t candidate = end + 1; candidate <= weights.size(); ++candidate) {
        const double ratio = worstRatio(weights, from, candidate, total, q);
        if (ratio == infinity) {
            if (current != infinity) break;
        } else if (ratio > current) {
            break;
        }
        end = candidate;
        current = ratio;
    }
    return end;
}

}  // namespace

std::vector<LayoutRect> squarifiedLayout(const std::vector<double>& weights, LayoutRect bounds) {
    if (weights.empty()) return {};
    // Relative to the largest, so that sums of huge weights cannot overflow.
    const double largest = *std::max_element(weights.begin(), weights.end());
    if (!(largest > 0)) return {};
    std::vector<std::size_t> order(weights.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return weights[a] > weights[b]; });
    std::vector<double> sorted(order.size());
    std::transform(order.begin(), order.end(), sorted.begin(), [&](std::size_t i) { return weights[i] / largest; });
    if (!(sum(sorted, 0, sorted.size()) > 0)) return {};
    if (weights.size() == 1) return {bounds};

    std::vector<LayoutRect> result(weights.size());
    if (!(bounds.width > 0) || !(bounds.height > 0)) return result;

    LayoutRect q = bounds;
    std::size_t from = 0;
    while (from < sorted.size()) {
        const double total = sum(sorted, from, sorted.size());
        if (sorted.size() - from == 1) {
            result[order[from]] = q;
            break;
        }
        const std::size_t end = rowEnd(sorted, from, total, q);
        const double s = sum(sorted, from, end);
        const double fraction = s / total;
        if (q.height <= q.width) {
            // A column at the left edge, items stacked from the top.
            const double columnWidth = fraction * q.width;
            double y = q.y;
            for (std::size_t i = from; i < end; ++i) {
                const double itemHeight = (sorted[i] / s) * q.height;
                result[order[i]] = {q.x, y, columnWidth, itemHeight};
                y += itemHeight;
            }
            q.x += columnWidth;
            q.width -= columnWidth;
        } else {
            // A strip along the top edge, items from left to right.
            const double stripHeight = fraction * q.height;
            double x = q.x;
            for (std::size_t i = from; i < end; ++i) {
                const double itemWidth = (sorted[i] / s) * q.width;
                result[order[i]] = {x, q.y, itemWidth, stripHeight};
                x += itemWidth;
            }
            q.y += stripHeight;
            q.height -= stripHeight;
        }
        from = end;
    }
    return result;
}

std::vector<double> treemapWeights(const std::vector<MacActivitySummary>& summaries) {
    std::vector<double> weights;
    weights.reserve(summaries.size());
    for (const MacActivitySummary& summary : summaries) weights.push_back(std::max(summary.minutes, 0.1));
    return weights;
}

bool tileShowsTitle(double width, double height) { return width > 64 && height > 40; }
bool tileShowsDuration(double width, double height) { return width > 84 && height > 60; }

bool TreemapTile::showsTitle() const { return tileShowsTitle(rect.width, rect.height); }
bool TreemapTile::showsDuration() const { return tileShowsDuration(rect.width, rect.height); }

std::vector<TreemapTile> treemapTiles(const std::vector<MacActivitySummary>& summaries, double width,
                                      double height, double spacing) {
    const auto rects = squarifiedLayout(treemapWeights(summaries), {0, 0, width, height});
    std::vector<TreemapTile> tiles;
    tiles.reserve(rects.size());
    for (std::size_t i = 0; i < rects.size(); ++i) {
        const LayoutRect& rect = rects[i];
        const LayoutRect frame{rect.x, rect.y, std::max(rect.width - spacing, 1.0),
                               std::max(rect.height - spacing, 1.0)};
        tiles.push_back({summaries[i], rect, frame});
    }
    return tiles;
}

}  // namespace plenda
