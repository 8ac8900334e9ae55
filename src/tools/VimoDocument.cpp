#include "tools/VimoDocument.h"

#include "fill/FillTool.h"
#include "model/AffineTransform.h"
#include "model/Stroke.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "pens/Localization.h"
#include "pens/Pen.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/ResourcePaths.h"
#include "tools/RotateTool.h"
#include "tools/StrokeClipboard.h"
#include "tools/ToolView.h"
#include "tools/ZoomTool.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUndoStack>

#include <algorithm>
#include <cmath>
#include <optional>

VimoDocument::VimoDocument(QSettings* settings, ScriptAlerts* alerts, const std::string& pensDir,
                           const std::string& libDir)
    : DocumentFile(settings), _undo(std::make_unique<UndoManager>()) {
    // The tools in their fixed order of creation.
    _pen = std::make_unique<Pen>(*this, pensDir.empty() ? ResourcePaths::pensDir() : pensDir,
                                 libDir.empty() ? ResourcePaths::libDir() : libDir, alerts);
    _zoom = std::make_unique<ZoomTool>(*this);
    _rotate = std::make_unique<RotateTool>(*this);
    _move = std::make_unique<MoveTool>(*this);
    _fill = std::make_unique<FillTool>(*this);
    _arrow = std::make_unique<ArrowTool>(*this);
    connectStrokes();
    QUndoStack& stack = _undo->undoStack();
    connect(&stack, &QUndoStack::cleanChanged, this, &VimoDocument::editedChanged);
    connect(&stack, &QUndoStack::indexChanged, this, &VimoDocument::editedChanged);
}

VimoDocument::~VimoDocument() {
    // The undo steps refer to the stroke list: they go first.
    _undo->removeAllActions();
    strokes().setChangeHandler(nullptr);
}

void VimoDocument::connectStrokes() {
    Strokes& list = strokes();
    list.setUndoManager(_undo.get());
    list.setChangeHandler([this](int index) { redrawFromStroke(index); });
}

void VimoDocument::strokesReplaced() {
    _undo->removeAllActions();
    connectStrokes();
    _arrow->clearSelection();
}

// ---- view and change count ----------------------------------------------------

void VimoDocument::redrawFromStroke(int index) {
    // Commands on an empty selection change nothing and name no stroke.
    if (index == Strokes::NotFound) return;
    if (_main_view) _main_view->redrawFromStroke(index);
}

void VimoDocument::setNeedsDisplay() {
    if (_main_view) _main_view->setNeedsDisplay();
}

void VimoDocument::refreshCursor() {
    if (_main_view) _main_view->refreshCursor();
}

void VimoDocument::updateChangeCount() {
    ++_change_count;
    emit editedChanged();
}

bool VimoDocument::isDocumentEdited() const {
    return _change_count > 0 || !_undo->undoStack().isClean() || _undo->groupingLevel() > 0;
}

void VimoDocument::documentSaved() {
    _undo->endEventGroup();
    _change_count = 0;
    _undo->undoStack().setClean();
    emit editedChanged();
}

void VimoDocument::undo() {
    _undo->endEventGroup();
    _undo->undo();
    updateSelection();
    emit editedChanged();
}

void VimoDocument::redo() {
    _undo->endEventGroup();
    _undo->redo();
    updateSelection();
    emit editedChanged();
}

// ---- tools ---------------------------------------------------------------------

void VimoDocument::setTool(Tool* t) {
    Tool::switchTool(
        _tool, t, [this] { updateToolDisplay(); }, _main_view);
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

void VimoDocument::updateToolDisplay() {
    emit toolDisplayChanged();
    refreshCursor();
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

Color VimoDocument::namedColor(std::string_view name) {
    static const std::pair<std::string_view, Color> named[] = {
        {"black", Color::black()},   {"blue", Color::blue()},     {"brown", Color::brown()},
        {"cyan", Color::cyan()},     {"green", Color::green()},   {"magenta", Color::magenta()},
        {"orange", Color::orange()}, {"purple", Color::purple()}, {"red", Color::red()},
        {"yellow", Color::yellow()}, {"white", Color::white()},
    };
    for (const auto& [n, c] : named)
        if (n == name) return c;
    return Color::black();
}

void VimoDocument::setBlackColor() {
    setToolColor(namedColor("black"));
}
void VimoDocument::setBlueColor() {
    setToolColor(namedColor("blue"));
}
void VimoDocument::setBrownColor() {
    setToolColor(namedColor("brown"));
}
void VimoDocument::setCyanColor() {
    setToolColor(namedColor("cyan"));
}
void VimoDocument::setGreenColor() {
    setToolColor(namedColor("green"));
}
void VimoDocument::setMagentaColor() {
    setToolColor(namedColor("magenta"));
}
void VimoDocument::setOrangeColor() {
    setToolColor(namedColor("orange"));
}
void VimoDocument::setPurpleColor() {
    setToolColor(namedColor("purple"));
}
void VimoDocument::setRedColor() {
    setToolColor(namedColor("red"));
}
void VimoDocument::setYellowColor() {
    setToolColor(namedColor("yellow"));
}
void VimoDocument::setWhiteColor() {
    setToolColor(namedColor("white"));
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

// ---- pen and fill settings -----------------------------------------------------

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
    penTool();
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

namespace {

// The leading number of a menu title ("50%", "12 pt"); none when the title
// does not start with one.
std::optional<float> leadingNumber(const QString& title) {
    QString digits;
    for (const QChar c : title.trimmed()) {
        if (!(c.isDigit() || c == u'.')) break;
        digits += c;
    }
    bool ok = false;
    const float value = digits.toFloat(&ok);
    if (!ok) return std::nullopt;
    return value;
}

} // namespace

void VimoDocument::penOpacity(const QString& title) {
    if (const auto percent = leadingNumber(title)) setPenOpacity(*percent / 100);
}

void VimoDocument::penSize(const QString& title) {
    if (const auto radius = leadingNumber(title)) setPenSize(*radius);
}

void VimoDocument::setPenType(const QString& title) {
    setPenTypeName(title.toStdString());
}

// ---- strokes -------------------------------------------------------------------

void VimoDocument::addStroke(std::shared_ptr<Stroke> stroke) {
    Strokes& list = strokes();
    list.addStroke(stroke);
    if (!_main_view || !_main_view->canvas()) return;
    VimoCanvas& canvas = *_main_view->canvas();
    const Rect r = stroke->drawInCanvas(canvas);
    canvas.recordRewindBufferStroke(list.count());
    _main_view->setNeedsDisplayInRect(r);
}

void VimoDocument::transformStrokesInArray(const Strokes::StrokeArray& array,
                                           const AffineTransform& t) {
    strokes().transformStrokesInArray(array, t);
    redrawFromStroke(strokes().minimumStrokeIndexInArray(array));
}

std::shared_ptr<Stroke> VimoDocument::addImage(const QImage& image, Point centre, float opacity) {
    if (_main_view && _main_view->canvas()) {
        setViewSize(_main_view->canvas()->size());
        setViewTransform(AffineTransform(_main_view->canvas()->transform()));
    }
    auto stroke = DocumentFile::addImage(image, centre, opacity);
    redrawFromStroke(strokes().count() - 1);
    return stroke;
}

// ---- selection-based edit commands ---------------------------------------------

bool VimoDocument::arrowCurrent() const {
    return _tool == _arrow.get();
}

void VimoDocument::updateSelection() {
    if (arrowCurrent())
        _arrow->setSelection(strokes().activeStrokesInArray(_arrow->selection()));
    else
        _arrow->clearSelection();
}

void VimoDocument::deleteStrokes() {
    Strokes& list = strokes();
    if (arrowCurrent()) {
        const Strokes::StrokeArray selection = _arrow->selection();
        const int from = list.minimumStrokeIndexInArray(selection);
        list.removeStrokesInArray(selection);
        _arrow->clearSelection();
        redrawFromStroke(from);
    } else {
        if (list.isEmpty()) return;
        list.removeLastStroke();
        redrawFromStroke(list.count());
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
    // The arrow tool must not keep (and highlight) strokes that are gone.
    updateSelection();
}

void VimoDocument::selectAll() {
    arrowTool();
    _arrow->setSelection(strokes().strokeArray());
    setNeedsDisplay();
}

void VimoDocument::duplicate() {
    Strokes& list = strokes();
    const int oldCount = list.count();
    if (arrowCurrent())
        list.duplicateStrokesInArray(_arrow->selection());
    else if (oldCount > 0)
        list.duplicateStrokesInArray({list.lastStroke()});
    const int newCount = list.count();
    if (newCount == oldCount) return;
    const Strokes::StrokeArray copies(list.strokeArray().begin() + oldCount,
                                      list.strokeArray().end());
    // 20 bitmap pixels right and down, whatever the zoom and rotation.
    Point offset{20, 20};
    if (_main_view && _main_view->canvas()) {
        const VimoCanvas& canvas = *_main_view->canvas();
        const Point a = canvas.bitmapPointToWorldPoint({20, 20});
        const Point b = canvas.bitmapPointToWorldPoint({0, 0});
        offset = {a.x - b.x, a.y - b.y};
    }
    list.transformStrokesInArray(
        copies, AffineTransform(AffineMatrix::makeTranslation(offset.x, offset.y)));
    if (arrowCurrent()) _arrow->setSelection(copies);
    redrawFromStroke(oldCount);
}

void VimoDocument::mergeStrokes() {
    Strokes& list = strokes();
    if (arrowCurrent()) {
        const int from = list.minimumStrokeIndexInArray(_arrow->selection());
        list.mergeStrokesInArray(_arrow->selection());
        redrawFromStroke(from);
    } else {
        // Fewer than two strokes: nothing merges, and an empty list has no
        // stroke to redraw from.
        if (list.count() < 2) return;
        list.mergeTopTwoStrokes();
        redrawFromStroke(list.count() - 1);
    }
    updateSelection();
}

void VimoDocument::reorder(void (Strokes::*command)(const Strokes::StrokeArray&), bool toBack) {
    if (!arrowCurrent()) return;
    const int from = strokes().minimumStrokeIndexInArray(_arrow->selection());
    (strokes().*command)(_arrow->selection());
    redrawFromStroke(toBack ? 0 : from);
}

void VimoDocument::bringForward() {
    reorder(&Strokes::bringForward, false);
}
void VimoDocument::bringToFront() {
    reorder(&Strokes::bringToFront, false);
}
void VimoDocument::sendBackward() {
    reorder(&Strokes::sendBackward, true);
}
void VimoDocument::sendToBack() {
    reorder(&Strokes::sendToBack, true);
}

bool VimoDocument::validateMenuItem(std::string_view action) const {
    const bool a = _tool == _arrow.get();
    const auto n = _arrow->selection().size();
    const int m = DocumentFile::strokesPointer()->count();
    if (action == "mergeStrokes") return (a && n > 1) || (!a && m > 1);
    if (action == "bringForward" || action == "bringToFront" || action == "sendBackward" ||
        action == "sendToBack")
        return a && n > 0;
    if (action == "duplicate") return (a && n > 0) || (!a && m > 0);
    return true;
}

// ---- eraser --------------------------------------------------------------------

void VimoDocument::handleProximity(const QVariantMap& userInfo) {
    const bool entering = userInfo.value(QStringLiteral("enterProximity")).toInt() != 0;
    const int pointerId = userInfo.value(QStringLiteral("pointerID")).toInt();
    if (!entering || pointerId != 0) return;
    const bool erasing = userInfo.value(QStringLiteral("pointerType")).toInt() == 3;
    if (erasing == _erasing) return;
    _erasing = erasing;
    if (erasing) {
        _eraser_saved_pen_type_name.reset();
        _eraser_saved_tool = nullptr;
        if (_tool == _pen.get())
            _eraser_saved_pen_type_name = _pen->penTypeName();
        else
            _eraser_saved_tool = _tool;
        setPenTypeName(Localization::localizedString("Eraser", Localization::kLuaTable));
    } else if (_eraser_saved_tool) {
        setTool(_eraser_saved_tool);
    } else if (_eraser_saved_pen_type_name) {
        setPenTypeName(*_eraser_saved_pen_type_name);
    }
}

// ---- clipboard -----------------------------------------------------------------

Strokes::StrokeArray VimoDocument::editTargets() const {
    const Strokes& list = *strokesPointer();
    if (arrowCurrent()) return list.sortedStrokesInArray(_arrow->selection());
    if (list.isEmpty()) return {};
    return {list.lastStroke()};
}

AffineMatrix VimoDocument::currentViewMatrix() const {
    if (_main_view && _main_view->canvas()) return _main_view->canvas()->transform();
    return viewTransform() ? viewTransform()->transformStruct() : AffineMatrix::identity();
}

Point VimoDocument::viewCentre() const {
    if (!_main_view) return {0, 0};
    const Rect b = _main_view->bounds();
    return {b.x + b.width / 2, b.y + b.height / 2};
}

QMimeData* VimoDocument::mimeDataForStrokes(const Strokes::StrokeArray& sorted) const {
    auto* data = new QMimeData;
    data->setData(QLatin1String(kPasteboardType),
                  StrokeClipboard::archive(sorted, currentViewMatrix()));
    return data;
}

void VimoDocument::copy() {
    const Strokes::StrokeArray strokesToCopy = editTargets();
    if (strokesToCopy.empty() || !qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    QGuiApplication::clipboard()->setMimeData(mimeDataForStrokes(strokesToCopy));
}

bool VimoDocument::pasteMimeData(const QMimeData& data) {
    if (auto content = StrokeClipboard::read(data)) {
        const AffineMatrix m =
            StrokeClipboard::pasteTransform(*content, currentViewMatrix(), viewCentre());
        const AffineTransform t(m);
        Strokes& list = strokes();
        for (const auto& s : content->strokes) {
            s->transformUsingAffineTransform(t);
            list.addStroke(s);
        }
        arrowTool();
        _arrow->setSelection(content->strokes);
        redrawFromStroke(list.count() - int(content->strokes.size()));
        return true;
    }
    if (data.hasImage()) {
        const QImage image = qvariant_cast<QImage>(data.imageData());
        if (image.isNull()) return false;
        addImage(image, viewCentre());
        return true;
    }
    return false;
}

void VimoDocument::paste() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return;
    if (const QMimeData* data = QGuiApplication::clipboard()->mimeData()) pasteMimeData(*data);
}

DocumentFile::Result VimoDocument::addVimoDocument(const QByteArray& data, Point centre,
                                                   float scale) {
    if (!(std::isfinite(scale) && scale > 0))
        return Result::failure("the drawing cannot be added at that scale");
    if (!std::isfinite(centre.x) || !std::isfinite(centre.y))
        return Result::failure("the drawing cannot be added at that place");
    DocumentFile other;
    const Result read = other.loadDataRepresentation(data, QString::fromLatin1(kDocumentType));
    if (!read) return read;
    Strokes::StrokeArray incoming = other.strokes().strokeArray();
    if (incoming.empty()) return Result::success();
    const Rect b = other.strokes().bounds();
    const Point middle{b.x + b.width / 2, b.y + b.height / 2};
    const AffineTransform t(AffineMatrix::makeTranslation(-middle.x, -middle.y)
                                .concat(AffineMatrix::makeScale(scale, scale))
                                .concat(AffineMatrix::makeTranslation(centre.x, centre.y)));
    Strokes& list = strokes();
    const int from = list.count();
    for (const auto& s : incoming) {
        s->transformUsingAffineTransform(t);
        list.addStroke(s);
    }
    redrawFromStroke(from);
    return Result::success();
}
