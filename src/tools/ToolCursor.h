#pragma once

#include "raster/Geometry.h"

#include <QImage>

#include <string>

// A cursor a tool asks its view to show: either one of the platform's
// standard shapes or an image with a hot spot (in the image's own
// coordinates, origin at the top left). Kept as plain data so that tools can
// be made without a display; the view turns it into a real cursor.
struct ToolCursor {
    enum class Shape { Crosshair, Arrow, Image };

    Shape shape = Shape::Crosshair;
    std::string name; // resource name for image cursors
    QImage image;
    Point hotSpot;

    static ToolCursor crosshair() { return {}; }
    static ToolCursor arrow() { return {Shape::Arrow, {}, {}, {}}; }

    bool operator==(const ToolCursor& o) const {
        return shape == o.shape && name == o.name && hotSpot == o.hotSpot;
    }
};
