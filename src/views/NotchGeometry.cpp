#include "views/NotchGeometry.h"

#include <algorithm>
#include <numeric>

namespace plenda {

std::optional<NotchGeometry> findNotch(const std::vector<ScreenInfo>& screens) {
    for (std::size_t i = 0; i < screens.size(); ++i) {
        const ScreenInfo& screen = screens[i];
        if (!screen.auxiliaryTopLeftArea || !screen.auxiliaryTopRightArea) continue;
        const Frame& left = *screen.auxiliaryTopLeftArea;
        const Frame& right = *screen.auxiliaryTopRightArea;
        return NotchGeometry{i, screen.frame,
                             Frame{left.maxX(), screen.frame.maxY() - left.height, right.x - left.maxX(),
                                   left.height}};
    }
    return std::nullopt;
}

Frame notchPanelFrame(const NotchGeometry& geometry, double width, double height) {
    return Frame{geometry.notch.midX() - width / 2, geometry.screenFrame.maxY() - height, width, height};
}

std::vector<OutlineStep> notchShapeOutline(OutlineRect rect, double notchWidth, double bandHeight,
                                           double cornerRadius) {
    constexpr double flare = 14;
    using K = OutlineStep::Kind;
    const double mid = (rect.minX + rect.maxX) / 2;
    const double l = mid - notchWidth / 2, r = mid + notchWidth / 2;
    const double band = rect.minY + bandHeight;
    const double R = cornerRadius;
    auto line = [](double x, double y) { return OutlineStep{K::line, {x, y}, {}}; };
    auto quad = [](double x, double y, double cx, double cy) { return OutlineStep{K::quad, {x, y}, {cx, cy}}; };
    return {
        OutlineStep{K::move, {l, rect.minY}, {}},
        line(r, rect.minY),
        line(r, band - flare),
        quad(r + flare, band, r, band),
        line(rect.maxX - R, band),
        quad(rect.maxX, band + R, rect.maxX, band),
        line(rect.maxX, rect.maxY - R),
        quad(rect.maxX - R, rect.maxY, rect.maxX, rect.maxY),
        line(rect.minX + R, rect.maxY),
        quad(rect.minX, rect.maxY - R, rect.minX, rect.maxY),
        line(rect.minX, band + R),
        quad(rect.minX + R, band, rect.minX, band),
        line(l - flare, band),
        quad(l, band - flare, l, band),
        OutlineStep{K::close, {}, {}},
    };
}

std::vector<double> dayBarWidths(const std::vector<double>& minutes, double availableWidth) {
    const double total = std::accumulate(minutes.begin(), minutes.end(), 0.0);
    const double gaps = 2.0 * (minutes.empty() ? 0.0 : static_cast<double>(minutes.size() - 1));
    std::vector<double> widths;
    widths.reserve(minutes.size());
    for (double m : minutes) {
        const double share = total > 0 ? m / total * (availableWidth - gaps) : 0.0;
        widths.push_back(std::max(3.0, share));
    }
    return widths;
}

std::vector<double> fitChipTitles(const std::vector<double>& natural, double fixed, double availableWidth) {
    double room = std::max(0.0, availableWidth - fixed);
    std::vector<std::size_t> shortestFirst(natural.size());
    for (std::size_t i = 0; i < natural.size(); ++i) shortestFirst[i] = i;
    std::stable_sort(shortestFirst.begin(), shortestFirst.end(),
                     [&](std::size_t a, std::size_t b) { return natural[a] < natural[b]; });
    std::vector<double> widths(natural.size());
    for (std::size_t k = 0; k < shortestFirst.size(); ++k) {
        const double share = room / double(shortestFirst.size() - k);
        const std::size_t i = shortestFirst[k];
        widths[i] = std::min(natural[i], share);
        room -= widths[i];
    }
    return widths;
}

}  // namespace plenda
