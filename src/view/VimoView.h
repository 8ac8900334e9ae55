#pragma once

#include "raster/AffineMatrix.h"
#include "tools/ToolEvent.h"
#include "tools/ToolView.h"

#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <QWidget>

#include <climits>
#include <memory>
#include <optional>

class QPainter;
class QSettings;
class Tool;
class VimoCanvas;
class VimoDocument;

// The widget that shows a drawing and receives the pointer and keyboard. It
// owns the document's canvas, kept the size of the widget, decides when
// strokes must be drawn again and from which stroke on, shows the canvas's
// preview bitmap with the current tool's feedback on top, hands pointer and
// modifier events to the current tool, and offers the view commands (zoom,
// fit, rotate, pan, page, copy the picture).
//
// Coordinates: the widget's own (y down) equal the canvas's bitmap
// coordinates. Repaints cover only the rectangles that were marked, so
// drawing a stroke repaints the pen's neighbourhood, not the whole widget.
//
// Resizing: Qt reports no end of a live resize, so a burst of resize events
// counts as one live resize that ends 200 ms after the last of them; during
// it the old canvas is kept (shown at the top left), afterwards a canvas of
// the new size is made and everything is drawn again.
//
// Modifier keys as the tools see them: Shift is shift, Alt is option, Ctrl
// is command.
class VimoView : public QWidget, public ToolView {
    Q_OBJECT

public:
    // The largest canvas index meaning nothing is pending.
    static constexpr int kNothingPending = INT_MAX;

    explicit VimoView(VimoDocument& document, QSettings* settings = nullptr,
                      QWidget* parent = nullptr);
    ~VimoView() override;

    VimoDocument& document() const { return _document; }

    // ToolView.
    VimoCanvas* canvas() override { return _canvas.get(); }
    float scale() const override;
    Rect bounds() const override;
    void setNeedsDisplayInRect(const Rect& r) override;
    void setNeedsDisplay() override { update(); }
    Color windowBackgroundColor() const override;
    void refreshCursor() override;
    void redrawFromStroke(int index) override;
    QPainter* overlayPainter() override { return _overlay; }
    void zoomToPoint(Point p, float factor) override;
    void zoomToBitmapRect(const Rect& r) override;
    void rotateFrom(Point p1, Point p2) override;
    void moveFrom(Point p1, Point p2) override;

    // Everything is drawn again from a cleared canvas at the next display.
    void redraw();
    int pendingRedrawFrom() const { return _redraw_from_stroke; }
    bool needsRedraw() const { return _needs_redraw; }

    // The world-to-view transform, and setting it (a change of the document).
    AffineMatrix transform() const;
    void setTransform(const AffineMatrix& t);
    // A picture to show as the canvas content instead of painting the
    // strokes (the cached picture of an opened file), when it has the
    // canvas's size; otherwise everything is redrawn.
    void loadImage(const QImage& image);

    // The drawing as the canvas holds it (strokes only, transparent where
    // nothing is drawn), upright; what a saved file caches.
    QImage canvasImage() const;
    // The picture exactly as displayed: canvas and tool feedback, view size.
    QImage previewImage();
    // The drawing rendered at factor x the view's size on a transparent
    // background (copied to the clipboard as TIFF and as an image).
    QImage imageAtScale(float factor);
    void copyAtScale(float factor);

    // View commands.
    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void resetRotation();
    void pageDown();
    void pageUp();
    void moveDown();
    void moveUp();
    void moveLeft();
    void moveRight();
    void copyBitmap() { copyAtScale(1); }
    void copyBitmapDoubleResolution() { copyAtScale(2); }
    void copyBitmapTripleResolution() { copyAtScale(3); }
    void copyBitmapQuadrupleResolution() { copyAtScale(4); }

    // What the last display did, for tests and benchmarks.
    struct DisplayStats {
        int displays = 0;
        QRect lastArea; // bounding box of the last repainted region
        int strokeRedraws = 0;
    };
    const DisplayStats& displayStats() const { return _stats; }
    bool inLiveResize() const { return _live_resize; }

signals:
    // The view transform changed (a change of the document).
    void transformChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void tabletEvent(QTabletEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    void allocateCanvas();
    void redrawStrokes();
    void viewDidEndLiveResize();
    void viewChanged();
    Point centre() const;
    void composeScreen(const QRect& r);
    Tool* currentTool() const;
    void down(const ToolEvent& e);
    void dragTo(const ToolEvent& e);
    void up(const ToolEvent& e);
    void flagsChanged(Qt::KeyboardModifiers modifiers);
    void endEvent();

    VimoDocument& _document; // not owned
    QSettings* _settings;    // not owned; may be null
    std::unique_ptr<VimoCanvas> _canvas;
    bool _needs_redraw = false;
    int _redraw_from_stroke = kNothingPending;
    Tool* _last_tool = nullptr; // the tool current when the space bar went down
    Tool* _tracking = nullptr;  // the tool of the gesture in progress
    bool _dragged = false;
    bool _tablet_down = false;
    QImage _screen;               // the composited picture, widget-oriented
    QPainter* _overlay = nullptr; // valid only inside the tool's drawing
    bool _live_resize = false;
    QTimer _resize_timer;
    DisplayStats _stats;
};

// Pointer and keyboard modifiers as the tools number them.
std::uint32_t toolModifierFlags(Qt::KeyboardModifiers modifiers);
