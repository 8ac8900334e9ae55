#pragma once

#include "model/Codable.h"
#include "raster/Geometry.h"

#include <functional>
#include <memory>
#include <vector>

class AffineTransform;
class KeyedArchiver;
class KeyedUnarchiver;
class Stroke;
class UndoManager;
class VimoCanvas;

// The ordered list of a document's strokes, index 0 at the bottom. Every edit
// of the drawing is an insertion, removal, reordering or transformation of
// this list; each registers its inverse with the undo manager and names the
// undo step. The list also paints itself into a canvas, batching strokes that
// can be combined and leaving snapshots in the canvas's rewind buffer.
//
// Strokes are compared by identity. The registered undo closures refer to
// the list, so the undo manager's steps must not outlive it (the document
// owns both).
class Strokes : public Codable {
public:
    using StrokePtr = std::shared_ptr<Stroke>;
    using StrokeArray = std::vector<StrokePtr>;

    // The index reported for a stroke that is not in the list.
    static constexpr int NotFound = 2147483647;

    // What the last redraw did, for tests and benchmarks.
    struct RedrawStats {
        int painted = 0;   // strokes painted (images included, bad ones not)
        int transfers = 0; // batches combined from the stroke into the draw bitmap
        int skipped = 0;   // bad strokes left out
    };

    Strokes();
    explicit Strokes(StrokeArray strokes);
    ~Strokes() override;
    Strokes(const Strokes&) = delete;
    Strokes& operator=(const Strokes&) = delete;

    // Reads the list, dropping (and logging) every stroke that is bad.
    static std::shared_ptr<Codable> initWithCoder(KeyedUnarchiver& coder);
    std::string archiveClassName() const override { return "Strokes"; }
    void encodeWithCoder(KeyedArchiver& coder) const override;

    // The undo manager edits register with; none means edits are not undoable.
    void setUndoManager(UndoManager* undo) { _undo = undo; }
    UndoManager* undoManager() const { return _undo; }
    // Told the lowest index that changed when the undo manager undoes or
    // redoes a step of this list, so that the view can redraw from there
    // (the document's own commands redraw by their own rules).
    void setChangeHandler(std::function<void(int)> handler) { _changed = std::move(handler); }

    // Queries.
    int count() const { return int(_strokes.size()); }
    bool isEmpty() const { return _strokes.empty(); }
    StrokePtr lastStroke() const;
    const StrokePtr& strokeAtIndex(int i) const;
    const StrokeArray& strokeArray() const { return _strokes; }
    // The list index of the stroke, or NotFound.
    int indexOfStroke(const Stroke* stroke) const;
    // Union of all strokes' bounds (the zero rectangle when empty).
    Rect bounds() const;
    // Whether every stroke can be printed as vector graphics.
    bool canVectorDraw() const;
    // The topmost stroke whose path contains p (filled area, even for
    // outlined strokes), or null.
    StrokePtr pickStrokeAtPoint(Point p) const;
    StrokeArray strokesTouchingRect(const Rect& r) const;
    StrokeArray strokesEnclosedByRect(const Rect& r) const;
    // The strokes of array that are in the list, in list order.
    StrokeArray sortedStrokesInArray(const StrokeArray& array) const;
    // The strokes of array that are still in the list, in the array's order.
    StrokeArray activeStrokesInArray(const StrokeArray& array) const;
    // The lowest list index of any stroke of array, or NotFound.
    int minimumStrokeIndexInArray(const StrokeArray& array) const;

    // Undoable edits.
    void addStroke(StrokePtr stroke);
    void removeLastStroke();
    void insertStroke(StrokePtr stroke, int index);
    void removeStrokeAtIndex(int index);
    void removeStrokesInArray(const StrokeArray& array);
    void clear();
    void transformStrokesInArray(const StrokeArray& array, const AffineTransform& t);
    // Replaces the strokes of array that are in the list by one path stroke
    // at the top holding all their paths. It takes the first one's colour,
    // mode, opacity and bounds. Needs two strokes.
    void mergeStrokesInArray(const StrokeArray& array);
    void mergeTopTwoStrokes();
    // Stacks copies of the strokes of array on top, in list order.
    void duplicateStrokesInArray(const StrokeArray& array);
    void bringForward(const StrokeArray& array);
    void bringToFront(const StrokeArray& array);
    void sendBackward(const StrokeArray& array);
    void sendToBack(const StrokeArray& array);

    // Painting. The canvas's draw bitmap must hold exactly the strokes below
    // fromStroke (the caller rewound it, or cleared it for 0). Returns the
    // changed rectangle in bitmap coordinates; the preview shows it.
    Rect drawInCanvas(VimoCanvas& canvas, int fromStroke = 0);
    // The same, then marks the changed rectangle for display.
    Rect drawInView(VimoCanvas& canvas,
                    const std::function<void(const Rect&)>& setNeedsDisplayInRect,
                    int fromStroke = 0);
    const RedrawStats& lastRedrawStats() const { return _last_redraw; }

    // Internal: moves of the strokes at the sorted list indexes L.
    void moveIndicesForwardTo(const std::vector<int>& indexes, int to);
    void moveIndicesBackwardTo(const std::vector<int>& indexes, int to);

private:
    // The sorted list indexes of the strokes of array that are in the list.
    std::vector<int> strokesToIndexList(const StrokeArray& array) const;
    void registerUndo(std::function<void()> action);
    void setActionName(const char* name);
    void updateMenuState() const;
    void changedFrom(int index) const;

    StrokeArray _strokes;
    UndoManager* _undo = nullptr;
    std::function<void(int)> _changed;
    RedrawStats _last_redraw;
};
