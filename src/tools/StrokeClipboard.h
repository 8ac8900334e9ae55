#pragma once

#include "model/Strokes.h"
#include "raster/AffineMatrix.h"
#include "raster/Geometry.h"

#include <QByteArray>

#include <optional>

// The clipboard form of strokes: a keyed archive holding the strokes under
// "strokes" (world coordinates of the drawing they came from) and that
// drawing's world-to-view transform under "transform", so that a paste can
// place them where they were seen rather than where they were in the other
// drawing's world.
class StrokeClipboard {
public:
    struct Contents {
        Strokes::StrokeArray strokes;
        AffineMatrix transform; // source world -> source view
    };

    static QByteArray archive(const Strokes::StrokeArray& strokes, const AffineMatrix& transform);
    // The strokes and transform of an archive; none when the data is not
    // such an archive, is damaged, or holds no usable stroke. Strokes that
    // are unusable (bad) are left out.
    static std::optional<Contents> unarchive(const QByteArray& data);

    // Moves pasted strokes (fresh copies, not in any list) into this
    // drawing's world: through the source transform into view coordinates,
    // then so that the centre of their common bounds lies on viewCentre,
    // then through the inverse of this view's transform. Returns the strokes
    // that are still usable afterwards.
    static Strokes::StrokeArray placeInView(const Strokes::StrokeArray& strokes,
                                            const AffineMatrix& sourceTransform,
                                            const AffineMatrix& viewTransform, Point viewCentre);
};
