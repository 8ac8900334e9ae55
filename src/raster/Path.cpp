#include "raster/Path.h"

#include "raster/CGContextWrapper.h"
#include "raster/GraphicsContext.h"

Path::Path(std::span<const PathElement> elements) : _elements(elements.begin(), elements.end()) {}

void Path::addElement(const PathElement& e, GraphicsContext& context) {
    const Point* p = e.points;
    switch (e.type) {
    case MoveToElement:
        context.moveToPoint(p[0].x, p[0].y);
        break;
    case LineToElement:
        context.addLineToPoint(p[0].x, p[0].y);
        break;
    case CurveToElement:
        context.addCurveToPoint(p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y);
        break;
    case ClosePathElement:
        context.closePath();
        break;
    default:
        break; // unknown kinds are skipped
    }
}

void Path::loadPathInContext(GraphicsContext& context) const {
    context.beginPath();
    for (const PathElement& e : _elements) addElement(e, context);
}

int Path::loadPathStartingAt(int start, int count, GraphicsContext& context) const {
    context.beginPath();
    const int n = elementCount();
    for (int i = start < 0 ? 0 : start; i < n; ++i) {
        const PathElement& e = _elements[std::size_t(i)];
        addElement(e, context);
        if (e.type == ClosePathElement && i >= start + count) return i + 1;
    }
    return n;
}

Rect Path::fillInContext(CGContextWrapper& wrapper, unsigned rule) const {
    GraphicsContext& context = wrapper.contextRef();
    if (rule != NonZeroWindingRule) {
        loadPathInContext(context);
        const Rect bounds = context.pathBoundingBox();
        context.eoFillPath();
        return bounds;
    }
    Rect bounds;
    const int n = elementCount();
    for (int start = 0; start < n;) {
        const int next = loadPathStartingAt(start, kBatchSize, context);
        const Rect box = context.pathBoundingBox();
        bounds = start == 0 ? box : unionRect(bounds, box);
        context.fillPath();
        start = next;
    }
    return bounds;
}

Rect Path::strokeInContext(CGContextWrapper& wrapper) const {
    GraphicsContext& context = wrapper.contextRef();
    loadPathInContext(context);
    const Rect bounds = context.pathBoundingBox();
    context.setLineJoin(GraphicsContext::LineJoin::Bevel);
    context.strokePath();
    const float w = wrapper.lineWidth();
    return insetRect(bounds, -w, -w);
}

Rect Path::boundsInContext(CGContextWrapper& wrapper) const {
    GraphicsContext& context = wrapper.contextRef();
    loadPathInContext(context);
    return context.pathBoundingBox();
}

QPainterPath Path::painterPath(std::span<const PathElement> elements, const AffineMatrix& m,
                               WindingRule rule) {
    QPainterPath out;
    for (const PathElement& e : elements) {
        auto q = [&](int k) {
            const Point p = m.apply(e.points[k]);
            return QPointF(p.x, p.y);
        };
        switch (e.type) {
        case MoveToElement:
            out.moveTo(q(0));
            break;
        case LineToElement:
            out.lineTo(q(0));
            break;
        case CurveToElement:
            out.cubicTo(q(0), q(1), q(2));
            break;
        case ClosePathElement:
            out.closeSubpath();
            break;
        default:
            break;
        }
    }
    out.setFillRule(rule == EvenOddWindingRule ? Qt::OddEvenFill : Qt::WindingFill);
    return out;
}
