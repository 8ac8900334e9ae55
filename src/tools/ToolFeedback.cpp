#include "tools/ToolFeedback.h"

#include "raster/Bitmap.h"

#include <QPainter>

QPen ToolFeedback::dashedPen() {
    QPen pen(kBoxColor, 2.0);
    // Dash lengths count in line widths: 3 x 2 = 6 units.
    pen.setDashPattern({3.0, 3.0});
    pen.setDashOffset(0);
    pen.setCapStyle(Qt::FlatCap);
    return pen;
}

void ToolFeedback::drawBand(QPainter& painter, const Rect& r) {
    const QRectF rect(double(r.x), double(r.y), double(r.width), double(r.height));
    painter.fillRect(rect, kBandFill);
    painter.save();
    painter.setPen(dashedPen());
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    painter.restore();
}

void ToolFeedback::drawBitmap(QPainter& painter, const Bitmap& bitmap) {
    painter.save();
    painter.translate(0, bitmap.height());
    painter.scale(1, -1);
    painter.drawImage(QPointF(0, 0), bitmap.image());
    painter.restore();
}
