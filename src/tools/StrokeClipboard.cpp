#include "tools/StrokeClipboard.h"

#include "model/AffineTransform.h"
#include "model/ArchiveError.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/Stroke.h"

#include <QMimeData>

#include <algorithm>
#include <cmath>

QByteArray StrokeClipboard::archive(const std::vector<std::shared_ptr<Stroke>>& strokes,
                                    const AffineMatrix& transform) {
    KeyedArchiver archiver;
    std::vector<const Codable*> objects;
    objects.reserve(strokes.size());
    for (const auto& s : strokes) objects.push_back(s.get());
    archiver.encodeObjectArray(objects, "strokes");
    const AffineTransform t(transform);
    archiver.encodeAffineTransform(&t, "transform");
    return archiver.finishEncoding();
}

std::optional<StrokeClipboard::Content> StrokeClipboard::read(const QByteArray& archive) {
    try {
        KeyedUnarchiver coder(archive);
        auto array = coder.decodeObjectArray("strokes");
        auto transform = coder.decodeAffineTransform("transform");
        if (!array || !transform) return std::nullopt;
        Content content;
        content.transform = transform->transformStruct();
        // A transform that is not a number or not invertible would put every
        // stroke on a line, a point or nowhere in this drawing.
        const AffineMatrix& t = content.transform;
        for (const float v : {t.a, t.b, t.c, t.d, t.tx, t.ty})
            if (!std::isfinite(v)) return std::nullopt;
        if (double(t.a) * t.d - double(t.b) * t.c == 0) return std::nullopt;
        for (const auto& object : *array)
            if (auto stroke = std::dynamic_pointer_cast<Stroke>(object); stroke && !stroke->bad())
                content.strokes.push_back(std::move(stroke));
        if (content.strokes.empty()) return std::nullopt;
        return content;
    } catch (const ArchiveError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

std::optional<StrokeClipboard::Content> StrokeClipboard::read(const QMimeData& data) {
    if (!data.hasFormat(QLatin1String(kMimeType))) return std::nullopt;
    return read(data.data(QLatin1String(kMimeType)));
}

AffineMatrix StrokeClipboard::pasteTransform(const Content& content, const AffineMatrix& targetView,
                                             Point centre) {
    // The bounds' corners in the source's view coordinates.
    float x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
    for (const auto& s : content.strokes) {
        const Rect b = s->bounds();
        for (const Point c : {Point{b.x, b.y}, Point{b.x + b.width, b.y},
                              Point{b.x, b.y + b.height}, Point{b.x + b.width, b.y + b.height}}) {
            const Point p = content.transform.apply(c);
            x0 = std::min(x0, p.x), y0 = std::min(y0, p.y);
            x1 = std::max(x1, p.x), y1 = std::max(y1, p.y);
        }
    }
    const Point middle{(x0 + x1) / 2, (y0 + y1) / 2};
    return content.transform
        .concat(AffineMatrix::makeTranslation(centre.x - middle.x, centre.y - middle.y))
        .concat(targetView.inverted());
}
