#include "view/VimoView.h"

#include "model/AffineTransform.h"
#include "model/Strokes.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "tools/Tool.h"
#include "tools/VimoDocument.h"

#include <QBuffer>
#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QImageWriter>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPixmap>
#include <QSettings>
#include <QTabletEvent>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* kNewWindowFrameDefault = "New window frame";
constexpr int kLiveResizeEndMs = 200;

Point pointOf(const QPointF& p) {
    return {float(p.x()), float(p.y())};
}

ToolEvent toolEvent(const QSinglePointEvent& e) {
    ToolEvent t;
    t.location = pointOf(e.position());
    t.modifierFlags = toolModifierFlags(e.modifiers());
    t.timestamp = double(e.timestamp()) / 1000.0;
    return t;
}

} // namespace

std::uint32_t toolModifierFlags(Qt::KeyboardModifiers m) {
    std::uint32_t flags = 0;
    if (m & Qt::ShiftModifier) flags |= ToolEvent::ShiftKey;
    if (m & Qt::AltModifier) flags |= ToolEvent::OptionKey;
    if (m & Qt::ControlModifier) flags |= ToolEvent::CommandKey;
    if (m & Qt::MetaModifier) flags |= ToolEvent::ControlKey;
    return flags;
}

VimoView::VimoView(VimoDocument& document, QSettings* settings, QWidget* parent)
    : QWidget(parent), _document(document), _settings(settings) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(false);
    setMinimumSize(64, 64);
    _resize_timer.setSingleShot(true);
    _resize_timer.setInterval(kLiveResizeEndMs);
    connect(&_resize_timer, &QTimer::timeout, this, [this] { viewDidEndLiveResize(); });
    allocateCanvas();
    _canvas->fill(TRANSPARENT);
    _document.setMainView(this);
}

VimoView::~VimoView() {
    if (_document.view() == this) _document.setMainView(nullptr);
}

// ---- geometry ------------------------------------------------------------------

float VimoView::scale() const {
    return _canvas->transform().scaleFactor();
}

Rect VimoView::bounds() const {
    return {0, 0, float(width()), float(height())};
}

Point VimoView::centre() const {
    const Size s = _canvas->size();
    return {s.width / 2, s.height / 2};
}

AffineMatrix VimoView::transform() const {
    return _canvas->transform();
}

void VimoView::setTransform(const AffineMatrix& t) {
    _canvas->setTransform(t);
    redraw();
}

void VimoView::setNeedsDisplayInRect(const Rect& r) {
    if (r.isEmpty()) return;
    // One pixel more on each side covers antialiased edges.
    const int x0 = int(std::floor(r.x)) - 1, y0 = int(std::floor(r.y)) - 1;
    const int x1 = int(std::ceil(r.x + r.width)) + 1, y1 = int(std::ceil(r.y + r.height)) + 1;
    update(QRect(x0, y0, x1 - x0, y1 - y0).intersected(rect()));
}

Color VimoView::windowBackgroundColor() const {
    return _document.windowBackgroundColor();
}

Tool* VimoView::currentTool() const {
    return _document.tool();
}

void VimoView::refreshCursor() {
    Tool* tool = currentTool();
    const ToolCursor c = tool ? tool->toolCursor() : ToolCursor::crosshair();
    switch (c.shape) {
    case ToolCursor::Shape::Crosshair:
        setCursor(Qt::CrossCursor);
        break;
    case ToolCursor::Shape::Arrow:
        setCursor(Qt::ArrowCursor);
        break;
    case ToolCursor::Shape::Image:
        if (c.image.isNull())
            setCursor(Qt::CrossCursor);
        else
            setCursor(QCursor(QPixmap::fromImage(c.image), int(c.hotSpot.x), int(c.hotSpot.y)));
        break;
    }
}

// ---- redraw requests -----------------------------------------------------------

void VimoView::redraw() {
    _needs_redraw = true;
    _redraw_from_stroke = 0;
    update();
}

void VimoView::redrawFromStroke(int index) {
    _needs_redraw = true;
    _redraw_from_stroke = std::min(_redraw_from_stroke, std::max(index, 0));
    update();
}

void VimoView::loadImage(const QImage& image) {
    const Size s = _canvas->size();
    if (image.isNull() || image.width() != int(s.width) || image.height() != int(s.height)) {
        redraw();
        return;
    }
    const QImage upright = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    Bitmap& draw = _canvas->drawBitmap();
    // Bitmap rows run bottom-up in view terms.
    for (int y = 0; y < upright.height(); ++y)
        std::copy_n(reinterpret_cast<const std::uint32_t*>(upright.constScanLine(y)),
                    upright.width(), &draw.at(0, y));
    draw.copyAllTo(_canvas->previewBitmap());
    _canvas->clearRewindBuffer();
    _canvas->recordRewindBufferStroke(_document.strokes().count());
    update();
}

void VimoView::allocateCanvas() {
    const Size size{float(std::max(width(), 1)), float(std::max(height(), 1))};
    auto canvas = std::make_unique<VimoCanvas>(size);
    if (_canvas) canvas->setTransform(_canvas->transform());
    _canvas = std::move(canvas);
    _canvas->strokeBitmap().fill(TRANSPARENT);
}

void VimoView::redrawStrokes() {
    ++_stats.strokeRedraws;
    if (_redraw_from_stroke <= 0) {
        _canvas->fill(TRANSPARENT);
        _canvas->clearRewindBuffer();
        _document.strokes().drawInCanvas(*_canvas);
        return;
    }
    _redraw_from_stroke = _canvas->rewindToBeforeStroke(_redraw_from_stroke);
    _document.strokes().drawInCanvas(*_canvas, _redraw_from_stroke);
}

// ---- display -------------------------------------------------------------------

void VimoView::paintEvent(QPaintEvent* event) {
    const Size s = _canvas->size();
    const bool sameSize = int(s.width) == width() && int(s.height) == height();
    if (sameSize || _live_resize) {
        if (_needs_redraw) redrawStrokes();
    } else {
        allocateCanvas();
        _redraw_from_stroke = 0;
        redrawStrokes();
        _screen = QImage();
    }
    _needs_redraw = false;
    _redraw_from_stroke = kNothingPending;

    if (_screen.size() != size()) {
        _screen = QImage(size(), QImage::Format_ARGB32_Premultiplied);
        composeScreen(rect());
    } else {
        for (const QRect& r : event->region()) composeScreen(r);
    }

    // The tool's feedback goes over the composed picture.
    {
        QPainter overlay(&_screen);
        overlay.setClipRegion(event->region());
        overlay.setRenderHint(QPainter::Antialiasing);
        _overlay = &overlay;
        if (Tool* tool = currentTool()) tool->toolDrawInView(*this);
        _overlay = nullptr;
    }

    QPainter painter(this);
    const Color bg = windowBackgroundColor();
    const QColor background =
        QColor::fromRgbF(bg.redComponent(), bg.greenComponent(), bg.blueComponent());
    for (const QRect& r : event->region()) {
        painter.fillRect(r, background);
        painter.drawImage(r.topLeft(), _screen, r);
    }
    ++_stats.displays;
    _stats.lastArea = event->region().boundingRect();
}

// The canvas's preview (premultiplied RGBA, rows bottom-up) into the
// widget-oriented screen image (premultiplied ARGB words): mirror the rows
// and swap red and blue. Outside the canvas (during a live resize) the
// screen is transparent.
void VimoView::composeScreen(const QRect& area) {
    const QRect r = area.intersected(_screen.rect());
    if (r.isEmpty()) return;
    const Bitmap& preview = _canvas->previewBitmap();
    const int cw = preview.width(), ch = preview.height();
    for (int y = r.top(); y <= r.bottom(); ++y) {
        auto* out = reinterpret_cast<std::uint32_t*>(_screen.scanLine(y)) + r.left();
        int n = r.width();
        if (y >= ch) {
            std::fill_n(out, n, 0u);
            continue;
        }
        const int inside = std::clamp(cw - r.left(), 0, n);
        // Bitmap rows run bottom-up.
        const std::uint32_t* in =
            preview.pixels() + std::size_t(ch - 1 - y) * std::size_t(cw) + std::size_t(r.left());
        for (int i = 0; i < inside; ++i) {
            const std::uint32_t p = in[i];
            out[i] = (p & 0xFF00FF00u) | ((p & 0xFFu) << 16) | ((p >> 16) & 0xFFu);
        }
        std::fill_n(out + inside, n - inside, 0u);
    }
}

QImage VimoView::previewImage() {
    return grab().toImage();
}

QImage VimoView::canvasImage() const {
    const Bitmap& draw = _canvas->drawBitmap();
    QImage out(draw.width(), draw.height(), QImage::Format_RGBA8888_Premultiplied);
    for (int y = 0; y < draw.height(); ++y)
        std::copy_n(draw.pixels() + std::size_t(draw.height() - 1 - y) * std::size_t(draw.width()),
                    draw.width(), reinterpret_cast<std::uint32_t*>(out.scanLine(y)));
    return out;
}

QImage VimoView::imageAtScale(float factor) {
    const int w = int(float(width()) * factor), h = int(float(height()) * factor);
    _document.setViewSize({float(width()), float(height())});
    _document.setViewTransform(AffineTransform(transform()));
    return _document.imageWithSize(w, h, true);
}

void VimoView::copyAtScale(float factor) {
    const QImage image = imageAtScale(factor);
    if (image.isNull() || !QGuiApplication::clipboard()) return;
    auto* mime = new QMimeData;
    QByteArray tiff;
    QBuffer buffer(&tiff);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "tiff");
    writer.setCompression(1); // LZW
    if (writer.write(image)) mime->setData("image/tiff", tiff);
    // Most programs on this desktop paste images as PNG; Qt offers it from
    // the image.
    mime->setImageData(image);
    QGuiApplication::clipboard()->setMimeData(mime);
}

// ---- resizing ------------------------------------------------------------------

void VimoView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The first size a window gets is not a user's resize.
    if (!isVisible()) return;
    _live_resize = true;
    _resize_timer.start();
}

void VimoView::viewDidEndLiveResize() {
    _live_resize = false;
    update();
    if (_settings && window()) {
        const QRect f = window()->geometry();
        _settings->setValue(
            kNewWindowFrameDefault,
            QString::fromStdString(DocumentFile::frameStringFromRect(
                {float(f.x()), float(f.y()), float(f.width()), float(f.height())})));
    }
}

// ---- view commands -------------------------------------------------------------

void VimoView::viewChanged() {
    redraw();
    _document.setViewTransform(AffineTransform(transform()));
    _document.updateChangeCount();
    emit transformChanged();
}

void VimoView::zoomToPoint(Point p, float factor) {
    _canvas->zoomToPoint(p, factor);
    viewChanged();
}

void VimoView::zoomToBitmapRect(const Rect& r) {
    const Size s = _canvas->size();
    zoomToPoint({r.x + r.width / 2, r.y + r.height / 2},
                std::min(s.width / r.width, s.height / r.height));
}

void VimoView::rotateFrom(Point p1, Point p2) {
    _canvas->rotateFrom(p1, p2);
    viewChanged();
}

void VimoView::moveFrom(Point p1, Point p2) {
    const Size s = _canvas->size();
    zoomToPoint({s.width / 2 + p1.x - p2.x, s.height / 2 + p1.y - p2.y}, 1);
}

void VimoView::zoomIn() {
    zoomToPoint(centre(), 3.0f);
}
void VimoView::zoomOut() {
    zoomToPoint(centre(), 0.3f);
}

void VimoView::zoomToFit() {
    const Rect b = _document.strokes().bounds();
    if (b.width == 0 || b.height == 0) return;
    zoomToBitmapRect(_canvas->worldRectToBitmapRect(b));
}

void VimoView::resetRotation() {
    const Point world = _canvas->bitmapPointToWorldPoint(centre());
    const float s = scale();
    _canvas->setTransform(AffineMatrix::identity());
    zoomToPoint(_canvas->worldPointToBitmapPoint(world), s);
}

void VimoView::pageDown() {
    const Size s = _canvas->size();
    zoomToPoint({s.width / 2, 1.5f * s.height - 20}, 1);
}
void VimoView::pageUp() {
    const Size s = _canvas->size();
    zoomToPoint({s.width / 2, 20 - s.height / 2}, 1);
}
void VimoView::moveDown() {
    zoomToPoint({_canvas->size().width / 2, _canvas->size().height}, 1);
}
void VimoView::moveUp() {
    zoomToPoint({_canvas->size().width / 2, 0}, 1);
}
void VimoView::moveLeft() {
    zoomToPoint({0, _canvas->size().height / 2}, 1);
}
void VimoView::moveRight() {
    zoomToPoint({_canvas->size().width, _canvas->size().height / 2}, 1);
}

// ---- pointer -------------------------------------------------------------------

void VimoView::endEvent() {
    _document.undoManager().endEventGroup();
}

void VimoView::down(const ToolEvent& e) {
    // A press in the view means the window is no longer being resized: the
    // tool must act on a canvas of the view's size.
    if (_live_resize) {
        _resize_timer.stop();
        viewDidEndLiveResize();
        repaint();
    }
    _tracking = currentTool();
    _dragged = false;
    if (_tracking) _tracking->toolDownEvent(e, *this, e.location);
    endEvent();
}

void VimoView::dragTo(const ToolEvent& e) {
    if (!_tracking) return;
    _dragged = true;
    _tracking->toolMoveEvent(e, e.location);
    endEvent();
}

void VimoView::up(const ToolEvent& e) {
    // A drag ends with the tool that began it; a click with the current one.
    Tool* tool = _dragged ? _tracking : currentTool();
    _tracking = nullptr;
    _dragged = false;
    if (tool) tool->toolUpEvent(e);
    endEvent();
}

void VimoView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || _tracking) return;
    ToolEvent e = toolEvent(*event);
    e.clickCount = event->type() == QEvent::MouseButtonDblClick ? 2 : 1;
    down(e);
}

void VimoView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton) || !_tracking || _tablet_down) return;
    dragTo(toolEvent(*event));
}

void VimoView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || _tablet_down) return;
    if (!_tracking && !_dragged) {
        // A release whose press went elsewhere (a dialog, another widget).
        return;
    }
    up(toolEvent(*event));
}

void VimoView::tabletEvent(QTabletEvent* event) {
    ToolEvent e = toolEvent(*event);
    e.pressure = float(event->pressure());
    // Qt reports tilt in degrees (-60..60); the tools take -1..1.
    e.tilt = {float(event->xTilt() / 60.0), float(event->yTilt() / 60.0)};
    e.rotation = float(event->rotation());
    switch (event->type()) {
    case QEvent::TabletPress:
        if (event->button() != Qt::LeftButton || _tracking) break;
        _tablet_down = true;
        down(e);
        break;
    case QEvent::TabletMove:
        if (_tablet_down) dragTo(e);
        break;
    case QEvent::TabletRelease:
        if (!_tablet_down) break;
        _tablet_down = false;
        up(e);
        break;
    default:
        break;
    }
    // Accepted: Qt then makes no mouse events of it.
    event->accept();
}

// ---- keys ----------------------------------------------------------------------

void VimoView::flagsChanged(Qt::KeyboardModifiers modifiers) {
    ToolEvent e;
    e.location = pointOf(mapFromGlobal(QCursor::pos()).toPointF());
    e.modifierFlags = toolModifierFlags(modifiers);
    if (Tool* tool = currentTool()) tool->toolFlagsChanged(e);
}

namespace {

// The modifier a modifier key stands for. Its own press or release is not
// always reflected in the event's modifiers yet, so it is applied here.
Qt::KeyboardModifier modifierOfKey(int key) {
    switch (key) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Alt:
        return Qt::AltModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Meta:
        return Qt::MetaModifier;
    default:
        return Qt::NoModifier;
    }
}

} // namespace

void VimoView::keyPressEvent(QKeyEvent* event) {
    if (const auto m = modifierOfKey(event->key()); m != Qt::NoModifier) {
        flagsChanged(event->modifiers() | m);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        _document.deleteStrokes();
        endEvent();
        return;
    case Qt::Key_Space:
        if (!_last_tool) {
            _last_tool = currentTool();
            _document.moveTool();
        }
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void VimoView::keyReleaseEvent(QKeyEvent* event) {
    if (const auto m = modifierOfKey(event->key()); m != Qt::NoModifier) {
        flagsChanged(event->modifiers() & ~m);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Space:
        if (event->isAutoRepeat()) return;
        if (_last_tool) {
            Tool* tool = _last_tool;
            _last_tool = nullptr;
            _document.setTool(tool);
        }
        return;
    default:
        QWidget::keyReleaseEvent(event);
    }
}
