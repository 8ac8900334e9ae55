#include "model/Strokes.h"

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/MenuState.h"
#include "model/Stroke.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "raster/Assert.h"
#include "raster/Bitmap.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace {
constexpr const char* kBadStrokeInFile = "Bad stroke found in save file -- ignoring.";
constexpr const char* kBadStrokeInDrawing = "Bad stroke found in drawing -- ignoring.";

void logLine(const char* line) {
    qWarning().noquote() << line;
}
// The tiles of the stroke bitmap that hold paint not yet combined into the
// draw bitmap. Everywhere else the stroke bitmap is transparent, and a
// transparent source leaves the destination unchanged in every transfer
// mode, so combining (and clearing) only these tiles gives the same picture
// as doing so over the whole pending rectangle, at a fraction of the cost
// when a batch is spread over the canvas.
class PendingTiles {
public:
    static constexpr int kTile = 64;

    PendingTiles(int width, int height)
        : _columns((width + kTile - 1) / kTile), _rows((height + kTile - 1) / kTile),
          _marked(std::size_t(_columns) * std::size_t(_rows), 0) {}

    void add(const PixelSpan& s) {
        if (s.empty()) return;
        for (int ty = s.y0 / kTile; ty <= s.y1 / kTile; ++ty)
            for (int tx = s.x0 / kTile; tx <= s.x1 / kTile; ++tx) _marked[index(tx, ty)] = 1;
        _low = std::min(_low, s.y0 / kTile);
        _high = std::max(_high, s.y1 / kTile);
    }

    // Calls f with each run of marked tiles in a tile row, as a rectangle whose
    // pixel span is exactly the run clipped to clip, and unmarks them.
    template <class F> void takeRuns(const PixelSpan& clip, F&& f) {
        for (int ty = _low; ty <= _high; ++ty) {
            for (int tx = 0; tx < _columns;) {
                if (!_marked[index(tx, ty)]) {
                    ++tx;
                    continue;
                }
                const int first = tx;
                while (tx < _columns && _marked[index(tx, ty)]) _marked[index(tx++, ty)] = 0;
                const int x0 = std::max(first * kTile, clip.x0),
                          x1 = std::min(tx * kTile - 1, clip.x1);
                const int y0 = std::max(ty * kTile, clip.y0),
                          y1 = std::min(ty * kTile + kTile - 1, clip.y1);
                if (x0 <= x1 && y0 <= y1)
                    f(Rect{float(x0), float(y0), float(x1 - x0), float(y1 - y0)});
            }
        }
        _low = _rows;
        _high = -1;
    }

private:
    std::size_t index(int tx, int ty) const {
        return std::size_t(ty) * std::size_t(_columns) + std::size_t(tx);
    }

    int _columns;
    int _rows;
    std::vector<std::uint8_t> _marked;
    int _low = _rows;
    int _high = -1;
};
} // namespace

Strokes::Strokes() = default;

Strokes::Strokes(StrokeArray strokes) : _strokes(std::move(strokes)) {}

Strokes::~Strokes() = default;

// Archiving.

void Strokes::encodeWithCoder(KeyedArchiver& coder) const {
    std::vector<const Codable*> objects;
    objects.reserve(_strokes.size());
    for (const auto& s : _strokes) objects.push_back(s.get());
    coder.encodeObjectArray(objects, "strokes");
}

std::shared_ptr<Codable> Strokes::initWithCoder(KeyedUnarchiver& coder) {
    auto list = std::make_shared<Strokes>();
    auto objects = coder.decodeObjectArray("strokes");
    if (!objects) return list;
    list->_strokes.reserve(objects->size());
    for (const auto& object : *objects) {
        // Anything that is not a usable stroke is left out, in file order.
        auto stroke = std::dynamic_pointer_cast<Stroke>(object);
        if (!stroke || stroke->bad()) {
            logLine(kBadStrokeInFile);
            continue;
        }
        list->_strokes.push_back(std::move(stroke));
    }
    return list;
}

// Queries.

Strokes::StrokePtr Strokes::lastStroke() const {
    return _strokes.empty() ? nullptr : _strokes.back();
}

const Strokes::StrokePtr& Strokes::strokeAtIndex(int i) const {
    VIMO_ASSERT(i >= 0 && i < count());
    return _strokes[std::size_t(i)];
}

int Strokes::indexOfStroke(const Stroke* stroke) const {
    for (std::size_t i = 0; i < _strokes.size(); ++i)
        if (_strokes[i].get() == stroke) return int(i);
    return NotFound;
}

Rect Strokes::bounds() const {
    Rect r;
    for (const auto& s : _strokes) r = unionRect(r, s->bounds());
    return r;
}

bool Strokes::canVectorDraw() const {
    return std::all_of(_strokes.begin(), _strokes.end(),
                       [](const StrokePtr& s) { return s->canVectorDraw(); });
}

Strokes::StrokePtr Strokes::pickStrokeAtPoint(Point p) const {
    for (auto it = _strokes.rbegin(); it != _strokes.rend(); ++it)
        if ((*it)->bezierPath() && (*it)->bezierPath()->containsPoint(p)) return *it;
    return nullptr;
}

Strokes::StrokeArray Strokes::strokesTouchingRect(const Rect& r) const {
    StrokeArray found;
    for (const auto& s : _strokes)
        if (intersectsRect(s->bounds(), r)) found.push_back(s);
    return found;
}

Strokes::StrokeArray Strokes::strokesEnclosedByRect(const Rect& r) const {
    StrokeArray found;
    for (const auto& s : _strokes)
        if (containsRect(r, s->bounds())) found.push_back(s);
    return found;
}

Strokes::StrokeArray Strokes::sortedStrokesInArray(const StrokeArray& array) const {
    StrokeArray sorted;
    for (int i : strokesToIndexList(array)) sorted.push_back(_strokes[std::size_t(i)]);
    return sorted;
}

Strokes::StrokeArray Strokes::activeStrokesInArray(const StrokeArray& array) const {
    StrokeArray active;
    for (const auto& s : array)
        if (s && indexOfStroke(s.get()) != NotFound) active.push_back(s);
    return active;
}

int Strokes::minimumStrokeIndexInArray(const StrokeArray& array) const {
    int lowest = NotFound;
    for (const auto& s : array) lowest = std::min(lowest, indexOfStroke(s.get()));
    return lowest;
}

std::vector<int> Strokes::strokesToIndexList(const StrokeArray& array) const {
    std::vector<int> indexes;
    for (const auto& s : array) {
        const int i = indexOfStroke(s.get());
        if (i != NotFound) indexes.push_back(i);
    }
    std::sort(indexes.begin(), indexes.end());
    return indexes;
}

// Undo plumbing.

void Strokes::registerUndo(std::function<void()> action) {
    if (_undo) _undo->registerUndo(std::move(action));
}

void Strokes::setActionName(const char* name) {
    if (_undo) _undo->setFirstActionName(QCoreApplication::translate("Strokes", name));
}

void Strokes::changedFrom(int index) const {
    if (_changed && _undo && (_undo->isUndoing() || _undo->isRedoing())) _changed(index);
}

void Strokes::updateMenuState() const {
    MenuState::shared().setCanVectorDraw(canVectorDraw());
}

// Edits.

void Strokes::addStroke(StrokePtr stroke) {
    VIMO_ASSERT(stroke != nullptr);
    _strokes.push_back(std::move(stroke));
    registerUndo([this] { removeLastStroke(); });
    setActionName("Stroke");
    changedFrom(count() - 1);
    updateMenuState();
}

void Strokes::removeLastStroke() {
    if (_strokes.empty()) return;
    StrokePtr stroke = std::move(_strokes.back());
    _strokes.pop_back();
    registerUndo([this, stroke] { addStroke(stroke); });
    setActionName("Delete Stroke");
    changedFrom(count());
    updateMenuState();
}

void Strokes::insertStroke(StrokePtr stroke, int index) {
    VIMO_ASSERT(stroke != nullptr);
    VIMO_ASSERT(index >= 0 && index <= count());
    _strokes.insert(_strokes.begin() + index, std::move(stroke));
    registerUndo([this, index] { removeStrokeAtIndex(index); });
    setActionName("Add Stroke");
    changedFrom(index);
    updateMenuState();
}

void Strokes::removeStrokeAtIndex(int index) {
    VIMO_ASSERT(index >= 0 && index < count());
    StrokePtr stroke = std::move(_strokes[std::size_t(index)]);
    _strokes.erase(_strokes.begin() + index);
    registerUndo([this, stroke, index] { insertStroke(stroke, index); });
    setActionName("Delete Stroke");
    changedFrom(index);
    updateMenuState();
}

void Strokes::removeStrokesInArray(const StrokeArray& array) {
    for (const auto& s : array) {
        const int i = indexOfStroke(s.get());
        if (i != NotFound) removeStrokeAtIndex(i);
    }
    // Named by emptiness, not by count: one deleted stroke is also "Strokes".
    setActionName(array.empty() ? "Delete Stroke" : "Delete Strokes");
    updateMenuState();
}

void Strokes::clear() {
    StrokeArray removed = std::move(_strokes);
    _strokes.clear();
    // Registered top first, so that undoing (newest first) re-adds them
    // bottom first.
    for (auto it = removed.rbegin(); it != removed.rend(); ++it) {
        StrokePtr stroke = *it;
        registerUndo([this, stroke] { addStroke(stroke); });
    }
    setActionName("Clear");
    changedFrom(0);
    updateMenuState();
}

void Strokes::transformStrokesInArray(const StrokeArray& array, const AffineTransform& t) {
    for (const auto& s : array) s->transformUsingAffineTransform(t);
    AffineTransform inverse = t;
    inverse.invert();
    registerUndo([this, array, inverse] { transformStrokesInArray(array, inverse); });
    setActionName("Move");
    changedFrom(minimumStrokeIndexInArray(array));
    updateMenuState();
}

void Strokes::mergeStrokesInArray(const StrokeArray& array) {
    if (array.size() < 2) return;
    StrokePtr merged;
    for (const auto& s : array) {
        const int i = indexOfStroke(s.get());
        if (i == NotFound) continue;
        if (!merged) {
            merged = copyWithArchiver(*s);
            VIMO_ASSERT(merged != nullptr);
        } else if (s->bezierPath()) {
            merged->appendBezierPathKeepingBounds(*s->bezierPath());
        }
        removeStrokeAtIndex(i);
    }
    if (merged) {
        addStroke(merged);
        setActionName("Merge");
    }
    updateMenuState();
}

void Strokes::mergeTopTwoStrokes() {
    if (count() < 2) return;
    mergeStrokesInArray({_strokes[_strokes.size() - 2], _strokes.back()});
}

void Strokes::duplicateStrokesInArray(const StrokeArray& array) {
    if (array.empty()) return;
    for (int i : strokesToIndexList(array)) {
        StrokePtr copy = copyWithArchiver(*_strokes[std::size_t(i)]);
        VIMO_ASSERT(copy != nullptr);
        addStroke(std::move(copy));
    }
    setActionName("Duplicate");
    updateMenuState();
}

// Z-order moves. Each gathers the selection into one contiguous run in its
// old relative order.

void Strokes::moveIndicesForwardTo(const std::vector<int>& indexes, int to) {
    // Every index lies below `to`, so inserting there shifts none of them.
    for (auto it = indexes.rbegin(); it != indexes.rend(); ++it) {
        VIMO_ASSERT(*it < to);
        insertStroke(_strokes[std::size_t(*it)], to);
    }
    for (auto it = indexes.rbegin(); it != indexes.rend(); ++it) removeStrokeAtIndex(*it);
}

void Strokes::moveIndicesBackwardTo(const std::vector<int>& indexes, int to) {
    const int n = int(indexes.size());
    for (int j = 0; j < n; ++j) {
        // The index from the list, shifted by the j insertions made below it.
        const int x = indexes[std::size_t(n - 1 - j)] + j;
        VIMO_ASSERT(x >= to);
        insertStroke(_strokes[std::size_t(x)], to);
        removeStrokeAtIndex(x + 1);
    }
}

void Strokes::bringForward(const StrokeArray& array) {
    const std::vector<int> indexes = strokesToIndexList(array);
    if (indexes.empty()) return;
    moveIndicesForwardTo(indexes, std::min(indexes.back() + 2, count()));
}

void Strokes::bringToFront(const StrokeArray& array) {
    const std::vector<int> indexes = strokesToIndexList(array);
    if (indexes.empty()) return;
    moveIndicesForwardTo(indexes, count());
}

void Strokes::sendBackward(const StrokeArray& array) {
    const std::vector<int> indexes = strokesToIndexList(array);
    if (indexes.empty()) return;
    moveIndicesBackwardTo(indexes, std::max(indexes.front() - 1, 0));
}

void Strokes::sendToBack(const StrokeArray& array) {
    const std::vector<int> indexes = strokesToIndexList(array);
    if (indexes.empty()) return;
    moveIndicesBackwardTo(indexes, 0);
}

// Painting.

Rect Strokes::drawInCanvas(VimoCanvas& canvas, int fromStroke) {
    VIMO_ASSERT(fromStroke >= 0);
    _last_redraw = {};
    if (fromStroke == 0) canvas.clearRewindBuffer();
    Bitmap& draw = canvas.drawBitmap();
    Bitmap& scratch = canvas.strokeBitmap();
    Rect changed;
    Rect pending;
    PendingTiles tiles(scratch.width(), scratch.height());
    const int n = count();
    for (int i = fromStroke; i < n; ++i) {
        const Stroke& s = *_strokes[std::size_t(i)];
        if (s.isImageStroke()) {
            const Rect world = s.drawInContext(draw.cgContext());
            changed = unionRect(changed, scratch.worldRectToBitmapRect(world));
            ++_last_redraw.painted;
            continue;
        }
        const Rect r = scratch.worldRectToBitmapRect(s.drawInContext(scratch.cgContext()));
        if (r.hasNaN()) {
            logLine(kBadStrokeInDrawing);
            ++_last_redraw.skipped;
            continue;
        }
        ++_last_redraw.painted;
        pending = unionRect(pending, r);
        tiles.add(scratch.pixelSpan(r));
        // A combinable run stays in the stroke bitmap and is combined once,
        // unless a snapshot is due here: then the batch is cut so that the
        // snapshot holds a complete picture.
        if (i + 1 < n && s.canCombineStrokeWith(*_strokes[std::size_t(i) + 1]) &&
            !canvas.wantsToRecordRewindBufferStroke(i, n))
            continue;
        tiles.takeRuns(scratch.pixelSpan(pending), [&](const Rect& run) {
            scratch.transferRect(run, draw, s.transferMode(), s.opacity());
            scratch.fillRect(run, TRANSPARENT);
        });
        changed = unionRect(changed, pending);
        ++_last_redraw.transfers;
        // Labelled i although the bitmap now holds i + 1 strokes: a rewind to
        // this label repaints stroke i once more over itself, which opaque
        // normal strokes hide. Kept so, as rewinds are counted on it.
        canvas.recordRewindBufferStroke(i, n);
        pending = Rect{};
    }
    draw.copyRect(changed, canvas.previewBitmap());
    return changed;
}

Rect Strokes::drawInView(VimoCanvas& canvas,
                         const std::function<void(const Rect&)>& setNeedsDisplayInRect,
                         int fromStroke) {
    const Rect changed = drawInCanvas(canvas, fromStroke);
    if (setNeedsDisplayInRect) setNeedsDisplayInRect(changed);
    return changed;
}
