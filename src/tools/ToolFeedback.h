#pragma once

#include "raster/Geometry.h"

#include <QColor>
#include <QPen>

class Bitmap;
class QPainter;

// The look of the tools' on-screen feedback: selection highlights, the
// dashed selection box and the translucent rubber band of the arrow and zoom
// tools.
class ToolFeedback {
public:
    static inline const QColor kLightBlue = QColor::fromRgbF(0.5f, 0.5f, 1.0f, 0.8f);
    static inline const QColor kLightRed = QColor::fromRgbF(1.0f, 0.5f, 0.5f, 0.8f);
    static inline const QColor kBoxColor = QColor::fromRgbF(0.0f, 0.0f, 0.8f, 0.8f);
    static inline const QColor kBandFill = QColor::fromRgbF(0.5f, 0.5f, 1.0f, 0.3f);

    // Line width 2 with a dash of 6 on, 6 off, starting at its beginning.
    static QPen dashedPen();
    // A band: filled translucent, outlined with the dashed pen.
    static void drawBand(QPainter& painter, const Rect& r);
    // A bitmap drawn upright with its origin at the painter's origin (its
    // rows run bottom-up, the painter's y axis down), under whatever
    // transform the painter has.
    static void drawBitmap(QPainter& painter, const Bitmap& bitmap);
};
