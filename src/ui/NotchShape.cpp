#include "ui/NotchShape.h"

#include "views/NotchGeometry.h"

namespace plenda {

QPainterPath NotchShape::path(const QRectF& rect) const {
    QPainterPath path;
    const OutlineRect r{rect.left(), rect.top(), rect.right(), rect.bottom()};
    for (const OutlineStep& step : notchShapeOutline(r, notchWidth, bandHeight, cornerRadius)) {
        switch (step.kind) {
        case OutlineStep::Kind::move: path.moveTo(step.to.x, step.to.y); break;
        case OutlineStep::Kind::line: path.lineTo(step.to.x, step.to.y); break;
        case OutlineStep::Kind::quad: path.quadTo(step.control.x, step.control.y, step.to.x, step.to.y); break;
        case OutlineStep::Kind::close: path.closeSubpath(); break;
        }
    }
    return path;
}

}  // namespace plenda
