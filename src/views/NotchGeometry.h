#pragma once

#include "platform/Screens.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace plenda {

struct NotchGeometry {
    std::size_t screenIndex = 0;
    Frame screenFrame;
    Frame notch;  // in global coordinates, y up
    bool operator==(const NotchGeometry&) const = default;
};

// The first screen that has both auxiliary top areas has the notch: it lies
// between them, as tall as the left area, hanging from the screen's top.
std::optional<NotchGeometry> findNotch(const std::vector<ScreenInfo>& screens);

// A panel of `width` x `height` hanging from the top of the notched screen,
// centred on the notch.
Frame notchPanelFrame(const NotchGeometry& geometry, double width, double height);

// The card outline in the view's own coordinates (y down): a notch-wide stem
// `bandHeight` tall that flares with fixed 14-point fillets into a full-width
// body with corners of `cornerRadius`.
struct OutlinePoint {
    double x = 0, y = 0;
    bool operator==(const OutlinePoint&) const = default;
};
struct OutlineStep {
    enum class Kind { move, line, quad, close };
    Kind kind = Kind::move;
    OutlinePoint to;
    OutlinePoint control;  // quad only
    bool operator==(const OutlineStep&) const = default;
};
struct OutlineRect {
    double minX = 0, minY = 0, maxX = 0, maxY = 0;
};
std::vector<OutlineStep> notchShapeOutline(OutlineRect rect, double notchWidth, double bandHeight,
                                           double cornerRadius);

// Widths of the day bar's segments: shares of `availableWidth` less 2-point
// gaps, never narrower than 3 points (so they may overrun a little).
std::vector<double> dayBarWidths(const std::vector<double>& minutes, double availableWidth);

// Widths for the chips' titles so that the chip row fits: `natural` are the
// titles' full widths, `fixed` what the row needs besides them (dots,
// durations, gaps). When all fit they keep their widths; otherwise the short
// keep theirs and the long share the room left equally (never below 0).
std::vector<double> fitChipTitles(const std::vector<double>& natural, double fixed, double availableWidth);

}  // namespace plenda
