#pragma once

#include "raster/AffineMatrix.h"

#include <QByteArray>

#include <memory>
#include <optional>
#include <vector>

class QMimeData;
class Stroke;

// The clipboard form of strokes: a keyed archive with the strokes under
// "strokes" (in the source drawing's world coordinates) and the source
// view's world-to-view transform under "transform", under a MIME type of
// Vimo's own. Reading checks everything, as for a file.
class StrokeClipboard {
public:
    static constexpr const char* kMimeType = "application/x-vimo-strokes";

    struct Content {
        std::vector<std::shared_ptr<Stroke>> strokes;
        AffineMatrix transform;
    };

    static QByteArray archive(const std::vector<std::shared_ptr<Stroke>>& strokes,
                              const AffineMatrix& transform);
    // None when the bytes are not such an archive or hold no stroke.
    static std::optional<Content> read(const QByteArray& archive);
    static std::optional<Content> read(const QMimeData& data);

    // The transform that brings strokes from the source's world into the
    // target's: through the source view, centred in the target view (the
    // centre of their bounds on the view's centre), back through the
    // target view.
    static AffineMatrix pasteTransform(const Content& content, const AffineMatrix& targetView,
                                       Point targetViewCentre);
};
