#include "tools/StrokeClipboard.h"

#include "model/AffineTransform.h"
#include "model/ArchiveError.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/Stroke.h"

#include <cmath>
#include <new>
#include <vector>

namespace {

bool isFinite(const AffineMatrix& m) {
    for (float v : {m.a, m.b, m.c, m.d, m.tx, m.ty})
        if (!std::isfinite(v)) return false;
    return true;
}

} // namespace

QByteArray StrokeClipboard::archive(const Strokes::StrokeArray& strokes,
                                    const AffineMatrix& transform) {
    std::vector<const Codable*> objects;
    objects.reserve(strokes.size());
    for (const auto& stroke : strokes) objects.push_back(stroke.get());
    KeyedArchiver archiver;
    archiver.encodeObjectArray(objects, "strokes");
    const AffineTransform t(transform);
    archiver.encodeAffineTransform(&t, "transform");
    return archiver.finishEncoding();
}

std::optional<StrokeClipboard::Contents> StrokeClipboard::unarchive(const QByteArray& data) {
    Contents contents;
    try {
        KeyedUnarchiver coder(data);
        auto objects = coder.decodeObjectArray("strokes");
        if (!objects) return std::nullopt;
        for (const auto& object : *objects) {
            auto stroke = std::dynamic_pointer_cast<Stroke>(object);
            if (stroke && !stroke->bad()) contents.strokes.push_back(std::move(stroke));
        }
        if (auto transform = coder.decodeAffineTransform("transform"))
            contents.transform = transform->transformStruct();
    } catch (const ArchiveError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    // A transform that is not invertible would put every stroke on a line or
    // a point of this drawing.
    const AffineMatrix& t = contents.transform;
    if (contents.strokes.empty() || !isFinite(t) || t.a * t.d - t.b * t.c == 0) return std::nullopt;
    return contents;
}

Strokes::StrokeArray StrokeClipboard::placeInView(const Strokes::StrokeArray& strokes,
                                                  const AffineMatrix& sourceTransform,
                                                  const AffineMatrix& viewTransform,
                                                  Point viewCentre) {
    if (strokes.empty()) return {};
    const AffineTransform toView(sourceTransform);
    Rect bounds;
    for (const auto& stroke : strokes) {
        stroke->transformUsingAffineTransform(toView);
        bounds = unionRect(bounds, stroke->bounds());
    }
    const float dx = viewCentre.x - (bounds.x + bounds.width / 2);
    const float dy = viewCentre.y - (bounds.y + bounds.height / 2);
    const AffineTransform toWorld(
        AffineMatrix::makeTranslation(dx, dy).concat(viewTransform.inverted()));
    Strokes::StrokeArray placed;
    for (const auto& stroke : strokes) {
        stroke->transformUsingAffineTransform(toWorld);
        if (!stroke->bad()) placed.push_back(stroke);
    }
    return placed;
}
