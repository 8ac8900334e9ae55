#include "tools/VimoDocument.h"

#include "fill/FillTool.h"
#include "model/AffineTransform.h"
#include "model/Stroke.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "pens/Localization.h"
#include "pens/Pen.h"
#include "raster/Assert.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/ResourcePaths.h"
#include "tools/RotateTool.h"
#include "tools/StrokeClipboard.h"
#include "tools/ToolView.h"
#include "tools/ZoomTool.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QUndoStack>

#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

// Keeps several list edits in one undo step.
class UndoGroup {
public:
    explicit UndoGroup(UndoManager& undo) : _undo(undo) { _undo.beginUndoGrouping(); }
    ~UndoGroup() { _undo.endUndoGrouping(); }
    UndoGroup(const UndoGroup&) = delete;
    UndoGroup& operator=(const UndoGroup&) = delete;

private:
    UndoManager& _undo;
};

// The number a menu item's title starts with ("50%", "12 pt"); none when it
// does not start with one.
std::optional<float> leadingNumber(const QString& title) {
    const QByteArray text = title.trimmed().toUtf8();
    const char* start = text.constData();
    const char c = *start;
    if (!((c >= '0' && c <= '9') || c == '.' || c == '+' || c == '-')) return std::nullopt;
    char* end = nullptr;
    const float value = std::strtof(start, &end);
    if (end == start || !std::isfinite(value)) return std::nullopt;
    return value;
}

// The clipboard, when the program runs with a GUI application (never in
// command-line tools, nor in tests that did not create one).
QClipboard* clipboard() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return nullptr;
    return QGuiApplication::clipboard();
}

} // namespace

VimoDocument::VimoDocument(QSettings* settings, ScriptAlerts* alerts, const std::string& pensDir,
                           const std::string& libDir)
    : DocumentFile(settings), _undo(std::make_unique<UndoManager>()) {
    // The tools are made in a fixed order: pen, zoom, rotate, move, fill,
    // arrow.
    if (pensDir.empty() && libDir.empty())
        _pen = std::make_unique<Pen>(*this, alerts);
    else
        _pen = std::make_unique<Pen>(*this, pensDir.empty() ? ResourcePaths::pensDir() : pensDir,
                                     libDir.empty() ? ResourcePaths::libDir() : libDir, alerts);
    _zoom = std::make_unique<ZoomTool>(*this);
    _rotate = std::make_unique<RotateTool>(*this);
    _move = std::make_unique<MoveTool>(*this);
    _fill = std::make_unique<FillTool>(*this);
    _arrow = std::make_unique<ArrowTool>(*this);
    connectStrokes();

    QUndoStack* stack = &_undo->undoStack();
    connect(stack, &QUndoStack::cleanChanged, this, [this] { emit editedChanged(); });
    connect(stack, &QUndoStack::indexChanged, this, [this] { emit editedChanged(); });
}

VimoDocument::~VimoDocument() {
    // The undo stack signals while it is torn down; nobody must hear it.
    QObject::disconnect(&_undo->undoStack(), nullptr, this, nullptr);
    strokes().setChangeHandler(nullptr);
    strokes().setUndoManager(nullptr);
}

void VimoDocument::connectStrokes() {
    strokes().setUndoManager(_undo.get());
    strokes().setChangeHandler([this](int index) { redrawFromStroke(index); });
}

void VimoDocument::strokesReplaced() {
    // The undo steps refer to the list that was replaced.
    _undo->removeAllActions();
    connectStrokes();
    _arrow->clearSelection();
    emit editedChanged();
}

void VimoDocument::redrawFromStroke(int index) {
    if (_main_view && index != Strokes::NotFound) _main_view->redrawFromStroke(index);
}

void VimoDocument::setNeedsDisplay() {
    if (_main_view) _main_view->setNeedsDisplay();
}

AffineMatrix VimoDocument::currentViewTransform() const {
    const VimoCanvas* canvas = _main_view ? _main_view->canvas() : nullptr;
    return canvas ? canvas->transform() : AffineMatrix::identity();
}

Point VimoDocument::viewCentre() const {
    if (!_main_view) return {0, 0};
    const Rect b = _main_view->bounds();
    return {b.x + b.width / 2, b.y + b.height / 2};
}

// ---- edits and saved state -------------------------------------------------------

void VimoDocument::updateChangeCount() {
    ++_change_count;
    emit editedChanged();
}

bool VimoDocument::isDocumentEdited() const {
    return !_undo->undoStack().isClean() || _change_count > 0;
}

void VimoDocument::documentSaved() {
    _undo->endEventGroup();
    _change_count = 0;
    _undo->undoStack().setClean();
    emit editedChanged();
}

void VimoDocument::undo() {
    _undo->endEventGroup();
    if (!_undo->undoStack().canUndo()) return;
    _undo->undo();
    updateSelection();
}

void VimoDocument::redo() {
    _undo->endEventGroup();
    if (!_undo->undoStack().canRedo()) return;
    _undo->redo();
    updateSelection();
}

// ---- tools ---------------------------------------------------------------------

void VimoDocument::setTool(Tool* t) {
    Tool::switchTool(
        _tool, t, [this] { updateToolDisplay(); }, _main_view);
}

void VimoDocument::refreshCursor() {
    if (_main_view) _main_view->refreshCursor();
}

void VimoDocument::updateToolDisplay() {
    refreshCursor();
    emit toolDisplayChanged();
}

void VimoDocument::penTool() {
    setTool(_pen.get());
}
void VimoDocument::arrowTool() {
    setTool(_arrow.get());
}
void VimoDocument::fillTool() {
    setTool(_fill.get());
}
void VimoDocument::zoomTool() {
    setTool(_zoom.get());
}
void VimoDocument::rotateTool() {
    setTool(_rotate.get());
}
void VimoDocument::moveTool() {
    setTool(_move.get());
}

void VimoDocument::zoomToRect() {
    _zoom->restoreToolAfter(_tool);
    setTool(_zoom.get());
}

void VimoDocument::rotate() {
    _rotate->restoreToolAfter(_tool);
    setTool(_rotate.get());
}

void VimoDocument::move() {
    _move->restoreToolAfter(_tool);
    setTool(_move.get());
}

bool VimoDocument::arrowIsCurrent() const {
    return _tool == _arrow.get();
}

// ---- colours -------------------------------------------------------------------

Color VimoDocument::toolColor() const {
    return _tool == _fill.get() ? _fill->color() : _pen->color();
}

void VimoDocument::setToolColor(const Color& c) {
    if (_tool == _fill.get())
        _fill->setColor(c);
    else if (_tool == _pen.get())
        _pen->setColor(c);
    updateToolDisplay();
}

void VimoDocument::toolColorChanged(const Color& c) {
    if (_tool == _fill.get())
        _fill->setColor(c);
    else
        _pen->setColor(c);
    updateToolDisplay();
}

void VimoDocument::setBlackColor() {
    setToolColor(Color::black());
}
void VimoDocument::setBlueColor() {
    setToolColor(Color::blue());
}
void VimoDocument::setBrownColor() {
    setToolColor(Color::brown());
}
void VimoDocument::setCyanColor() {
    setToolColor(Color::cyan());
}
void VimoDocument::setGreenColor() {
    setToolColor(Color::green());
}
void VimoDocument::setMagentaColor() {
    setToolColor(Color::magenta());
}
void VimoDocument::setOrangeColor() {
    setToolColor(Color::orange());
}
void VimoDocument::setPurpleColor() {
    setToolColor(Color::purple());
}
void VimoDocument::setRedColor() {
    setToolColor(Color::red());
}
void VimoDocument::setYellowColor() {
    setToolColor(Color::yellow());
}
void VimoDocument::setWhiteColor() {
    setToolColor(Color::white());
}

Color VimoDocument::namedColor(std::string_view name) {
    static constexpr std::pair<std::string_view, Color> kColors[] = {
        {"black", Color::black()},   {"blue", Color::blue()},     {"brown", Color::brown()},
        {"cyan", Color::cyan()},     {"green", Color::green()},   {"magenta", Color::magenta()},
        {"orange", Color::orange()}, {"purple", Color::purple()}, {"red", Color::red()},
        {"yellow", Color::yellow()}, {"white", Color::white()},
    };
    for (const auto& [n, c] : kColors)
        if (n == name) return c;
    return Color::black();
}

void VimoDocument::backgroundColorChanged(const Color& c) {
    setBackgroundColor(c);
    setNeedsDisplay();
    updateChangeCount();
}

void VimoDocument::clearBackgroundColor() {
    setBackgroundColor(std::nullopt);
    setNeedsDisplay();
    updateChangeCount();
}

Color VimoDocument::windowBackgroundColor() const {
    return backgroundColor().value_or(Color::white());
}

// ---- pen and fill settings -------------------------------------------------------

void VimoDocument::setPenOpacity(float opacity) {
    _pen->setOpacity(opacity);
    updateToolDisplay();
}

void VimoDocument::setPenSize(float radius) {
    _pen->setRadius(radius);
    updateToolDisplay();
}

void VimoDocument::setPenParameter(const std::string& name, float value) {
    _pen->setParameter(name, value);
    updateToolDisplay();
}

void VimoDocument::setPenTypeName(const std::string& name) {
    setTool(_pen.get());
    _pen->setPenTypeName(name);
    updateToolDisplay();
}

void VimoDocument::setPenTransferMode(int mode) {
    _pen->setTransferMode(mode);
    updateToolDisplay();
}

void VimoDocument::setFillOpacity(float opacity) {
    _fill->setOpacity(opacity);
    updateToolDisplay();
}

void VimoDocument::setFillTolerance(float tolerance) {
    _fill->setTolerance(tolerance);
    updateToolDisplay();
}

void VimoDocument::setFillExpand(int expand) {
    _fill->setExpand(expand);
    updateToolDisplay();
}

void VimoDocument::setFillTransferMode(int mode) {
    _fill->setTransferMode(mode);
    updateToolDisplay();
}

void VimoDocument::penOpacity(const QString& title) {
    if (auto percent = leadingNumber(title)) setPenOpacity(*percent / 100);
}

void VimoDocument::penSize(const QString& title) {
    if (auto radius = leadingNumber(title)) setPenSize(*radius);
}

void VimoDocument::setPenType(const QString& title) {
    setPenTypeName(title.toStdString());
}

// ---- adding strokes --------------------------------------------------------------

void VimoDocument::paintAddedStroke(const Stroke& stroke) {
    VimoCanvas* canvas = _main_view ? _main_view->canvas() : nullptr;
    if (!canvas) return;
    const Rect r = stroke.drawInCanvas(*canvas);
    canvas->recordRewindBufferStroke(strokes().count());
    _main_view->setNeedsDisplayInRect(r);
}

void VimoDocument::addStroke(std::shared_ptr<Stroke> stroke) {
    VIMO_ASSERT(stroke);
    strokes().addStroke(stroke);
    paintAddedStroke(*stroke);
}

void VimoDocument::transformStrokesInArray(const Strokes::StrokeArray& array,
                                           const AffineTransform& t) {
    strokes().transformStrokesInArray(array, t);
    redrawFromStroke(strokes().minimumStrokeIndexInArray(array));
}

std::shared_ptr<Stroke> VimoDocument::addImage(const QImage& image, Point centre, float opacity) {
    if (image.isNull()) return nullptr;
    // The picture is placed through the view as it stands now.
    const auto savedTransform = viewTransform();
    const Size savedSize = viewSize();
    if (_main_view) {
        setViewTransform(AffineTransform(currentViewTransform()));
        setViewSize(_main_view->bounds().size());
    }
    std::shared_ptr<Stroke> stroke = DocumentFile::addImage(image, centre, opacity);
    setViewTransform(savedTransform);
    setViewSize(savedSize);
    paintAddedStroke(*stroke);
    return stroke;
}

DocumentFile::Result VimoDocument::addVimoDocument(const QByteArray& data, Point centre,
                                                   float scale) {
    if (!(std::isfinite(scale) && scale > 0))
        return Result::failure("the drawing cannot be placed at that scale");
    if (!std::isfinite(centre.x) || !std::isfinite(centre.y))
        return Result::failure("the drawing cannot be placed at that point");
    DocumentFile other;
    if (Result r = other.loadDataRepresentation(data, kDocumentType); !r) return r;
    const Strokes::StrokeArray added = other.strokes().strokeArray();
    if (added.empty()) return Result::success();

    const Rect b = other.strokes().bounds();
    const AffineTransform placing(
        AffineMatrix::makeTranslation(-(b.x + b.width / 2), -(b.y + b.height / 2))
            .concat(AffineMatrix::makeScale(scale, scale))
            .concat(AffineMatrix::makeTranslation(centre.x, centre.y)));
    UndoGroup group(*_undo);
    for (const auto& stroke : added) {
        stroke->transformUsingAffineTransform(placing);
        addStroke(stroke);
    }
    return Result::success();
}

// ---- edit commands ---------------------------------------------------------------

Strokes::StrokeArray VimoDocument::editTargets() const {
    if (arrowIsCurrent()) return _arrow->selection();
    const Strokes& list = *strokesPointer();
    if (list.isEmpty()) return {};
    return {list.lastStroke()};
}

void VimoDocument::updateSelection() {
    if (arrowIsCurrent())
        _arrow->setSelection(strokes().activeStrokesInArray(_arrow->selection()));
    else
        _arrow->clearSelection();
}

void VimoDocument::deleteStrokes() {
    if (arrowIsCurrent()) {
        const Strokes::StrokeArray selection = _arrow->selection();
        const int lowest = strokes().minimumStrokeIndexInArray(selection);
        strokes().removeStrokesInArray(selection);
        _arrow->clearSelection();
        redrawFromStroke(lowest);
    } else {
        if (strokes().isEmpty()) return;
        strokes().removeLastStroke();
        redrawFromStroke(strokes().count());
    }
    updateSelection();
}

void VimoDocument::cut() {
    copy();
    deleteStrokes();
}

void VimoDocument::clear() {
    strokes().clear();
    redrawFromStroke(0);
    updateSelection();
}

void VimoDocument::selectAll() {
    setTool(_arrow.get());
    _arrow->setSelection(strokes().strokeArray());
    setNeedsDisplay();
}

void VimoDocument::duplicate() {
    const Strokes::StrokeArray sources = editTargets();
    if (sources.empty()) return;
    const int oldCount = strokes().count();
    UndoGroup group(*_undo);
    strokes().duplicateStrokesInArray(sources);
    const auto& all = strokes().strokeArray();
    const Strokes::StrokeArray copies(all.begin() + oldCount, all.end());
    if (copies.empty()) return;

    // 20 pixels right and down on the screen, whatever the zoom and rotation.
    const AffineMatrix toWorld = currentViewTransform().inverted();
    const Point w0 = toWorld.apply({0, 0});
    const Point w20 = toWorld.apply({20, 20});
    AffineTransform offset;
    offset.translateXBy(w20.x - w0.x, w20.y - w0.y);
    strokes().transformStrokesInArray(copies, offset);
    _undo->setFirstActionName(QCoreApplication::translate("Strokes", "Duplicate"));

    if (arrowIsCurrent()) _arrow->setSelection(copies);
    redrawFromStroke(oldCount);
}

void VimoDocument::mergeStrokes() {
    if (arrowIsCurrent()) {
        const Strokes::StrokeArray selection = _arrow->selection();
        const int lowest = strokes().minimumStrokeIndexInArray(selection);
        strokes().mergeStrokesInArray(selection);
        redrawFromStroke(lowest);
    } else {
        if (strokes().count() < 2) return;
        strokes().mergeTopTwoStrokes();
        redrawFromStroke(strokes().count() - 1);
    }
    updateSelection();
}

void VimoDocument::bringForward() {
    if (!arrowIsCurrent()) return;
    const int lowest = strokes().minimumStrokeIndexInArray(_arrow->selection());
    strokes().bringForward(_arrow->selection());
    redrawFromStroke(lowest);
}

void VimoDocument::bringToFront() {
    if (!arrowIsCurrent()) return;
    const int lowest = strokes().minimumStrokeIndexInArray(_arrow->selection());
    strokes().bringToFront(_arrow->selection());
    redrawFromStroke(lowest);
}

void VimoDocument::sendBackward() {
    if (!arrowIsCurrent()) return;
    strokes().sendBackward(_arrow->selection());
    redrawFromStroke(0);
}

void VimoDocument::sendToBack() {
    if (!arrowIsCurrent()) return;
    strokes().sendToBack(_arrow->selection());
    redrawFromStroke(0);
}

bool VimoDocument::validateMenuItem(std::string_view action) const {
    const bool arrow = arrowIsCurrent();
    const std::size_t n = _arrow->selection().size();
    const int m = strokesPointer()->count();
    if (action == "mergeStrokes") return arrow ? n > 1 : m > 1;
    if (action == "bringForward" || action == "bringToFront" || action == "sendBackward" ||
        action == "sendToBack")
        return arrow && n > 0;
    if (action == "duplicate") return arrow ? n > 0 : m > 0;
    return true;
}

// ---- clipboard -----------------------------------------------------------------

QMimeData* VimoDocument::mimeDataForStrokes(const Strokes::StrokeArray& sorted) const {
    if (sorted.empty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(kPasteboardType, StrokeClipboard::archive(sorted, currentViewTransform()));
    return data;
}

bool VimoDocument::pasteMimeData(const QMimeData& data) {
    if (!data.hasFormat(kPasteboardType)) return false;
    auto contents = StrokeClipboard::unarchive(data.data(kPasteboardType));
    if (!contents) return false;
    const Strokes::StrokeArray placed = StrokeClipboard::placeInView(
        contents->strokes, contents->transform, currentViewTransform(), viewCentre());
    if (placed.empty()) return false;
    {
        UndoGroup group(*_undo);
        for (const auto& stroke : placed) addStroke(stroke);
    }
    setTool(_arrow.get());
    _arrow->setSelection(placed);
    setNeedsDisplay();
    return true;
}

void VimoDocument::copy() {
    QClipboard* board = clipboard();
    if (!board) return;
    if (QMimeData* data = mimeDataForStrokes(strokes().sortedStrokesInArray(editTargets())))
        board->setMimeData(data);
}

void VimoDocument::paste() {
    QClipboard* board = clipboard();
    if (!board) return;
    const QMimeData* data = board->mimeData();
    if (!data || pasteMimeData(*data)) return;
    if (!data->hasImage()) return;
    const QImage image = qvariant_cast<QImage>(data->imageData());
    if (image.isNull()) return;
    addImage(image, viewCentre());
}

// ---- the tablet's eraser -----------------------------------------------------------

void VimoDocument::handleProximity(const QVariantMap& userInfo) {
    const bool entering = userInfo.value("enterProximity").toInt() != 0;
    const int pointer = userInfo.value("pointerID").toInt();
    if (!entering || pointer != 0) return;
    const bool eraser = userInfo.value("pointerType").toInt() == 3;
    if (eraser == _erasing) return;
    _erasing = eraser;

    if (eraser) {
        _eraser_saved_pen_type_name.reset();
        _eraser_saved_tool = nullptr;
        if (_tool == _pen.get())
            _eraser_saved_pen_type_name = _pen->penTypeName();
        else
            _eraser_saved_tool = _tool;
        setPenTypeName(Localization::localizedString("Eraser", Localization::kLuaTable));
    } else {
        if (_eraser_saved_tool) setTool(_eraser_saved_tool);
        if (_eraser_saved_pen_type_name) setPenTypeName(*_eraser_saved_pen_type_name);
    }
}
