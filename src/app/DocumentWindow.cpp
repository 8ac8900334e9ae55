#include "app/DocumentWindow.h"

#include "app/MainMenu.h"
#include "model/AffineTransform.h"
#include "model/Strokes.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "tools/VimoDocument.h"
#include "view/VimoView.h"

#include <QCloseEvent>
#include <QColorDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QLayout>
#include <QMessageBox>
#include <QSettings>
#include <QUndoStack>

#include <algorithm>

namespace {

constexpr const char* kNewWindowFrameDefault = "New window frame";
constexpr int kMinimumWidth = 400, kMinimumHeight = 300;
constexpr const char* kFileFilter = "Vimo drawings (*.vimo);;Vimo templates (*.vimotemplate)";

int nextUntitledNumber() {
    static int number = 0;
    return ++number;
}

QColor qColor(const Color& c) {
    return QColor::fromRgbF(c.redComponent(), c.greenComponent(), c.blueComponent(),
                            c.alphaComponent());
}

Color vimoColor(const QColor& c) {
    return Color::calibrated(float(c.redF()), float(c.greenF()), float(c.blueF()), 1);
}

} // namespace

DocumentWindow::DocumentWindow(QSettings* settings, ScriptAlerts* alerts, QWidget* parent)
    : QMainWindow(parent), _settings(settings),
      _document(std::make_unique<VimoDocument>(settings, alerts)) {
    setAttribute(Qt::WA_DeleteOnClose);
    _view = new VimoView(*_document, settings, this);
    setCentralWidget(_view);
    _menu = new MainMenu(*this);

    // New windows open at the size the user last gave one.
    QRect frame(100, 100, 800, 600);
    if (settings) {
        const auto saved = DocumentFile::rectFromFrameString(
            settings->value(kNewWindowFrameDefault).toString().toStdString());
        if (saved && saved->width >= 200 && saved->height >= 150)
            frame = QRect(int(saved->x), int(saved->y), int(saved->width), int(saved->height));
    }
    resize(frame.size());

    _document->penTool();
    _document->setPreviewSource([this] { return _view->canvasImage(); });
    connect(_document.get(), &VimoDocument::editedChanged, this, [this] { updateTitle(); });
    connect(_document.get(), &VimoDocument::toolDisplayChanged, this, [this] {
        _menu->updateToolDisplay();
        if (_color_panel && _color_panel->isVisible() && !_panel_for_background)
            _color_panel->setCurrentColor(qColor(_document->toolColor()));
    });
    _untitled_number = nextUntitledNumber();
    updateTitle();
}

DocumentWindow::~DocumentWindow() {
    // The view refers to the document: it goes first.
    delete takeCentralWidget();
}

bool DocumentWindow::isPristine() const {
    return isUntitled() && !_document->isDocumentEdited() && _document->strokes().isEmpty();
}

void DocumentWindow::updateTitle() {
    const QString name =
        isUntitled() ? tr("Untitled %1").arg(_untitled_number) : QFileInfo(_path).fileName();
    setWindowTitle(name + QStringLiteral("[*] \u2014 Vimo"));
    setWindowModified(_document->isDocumentEdited());
    if (!isUntitled()) setWindowFilePath(_path);
}

// What was read goes to the window and the view: frame, view transform,
// the cached picture or a full redraw, a placed picture.
void DocumentWindow::showDocumentState() {
    // The saved size, but never so small that the menus do not fit.
    if (auto frame = DocumentFile::rectFromFrameString(_document->windowFrameString());
        frame && !frame->isEmpty())
        resize(std::max(int(frame->width), kMinimumWidth),
               std::max(int(frame->height), kMinimumHeight));
    // The view's size before the window shows: what a placed picture is
    // centred and fitted in.
    if (layout()) layout()->activate();
    _document->setViewSize({float(_view->width()), float(_view->height())});
    if (const auto& t = _document->viewTransform())
        _view->canvas()->setTransform(t->transformStruct());
    if (!_document->previewImage().isNull() && _document->previewImage().size() == _view->size()) {
        _view->loadImage(_document->previewImage());
    } else {
        _view->redraw();
    }
    _document->clearPreviewImage();
    _document->placeLoadedImage();
    _view->redraw();
    if (!_document->resetFilename()) _document->documentSaved();
    updateTitle();
}

bool DocumentWindow::openFile(const QString& path, QString* reason) {
    // The view's size is what the document fits a placed picture into.
    if (layout()) layout()->activate();
    _document->setViewSize({float(_view->width()), float(_view->height())});
    const auto result = _document->readFromFile(path);
    if (!result) {
        if (reason) *reason = QString::fromStdString(result.reason());
        return false;
    }
    _path = _document->resetFilename() ? QString() : QFileInfo(path).absoluteFilePath();
    showDocumentState();
    emit fileUsed(QFileInfo(path).absoluteFilePath());
    return true;
}

void DocumentWindow::prepareForSave() {
    const QRect g = geometry();
    _document->setWindowFrameString(DocumentFile::frameStringFromRect(
        {float(g.x()), float(g.y()), float(g.width()), float(g.height())}));
    _document->setViewSize({float(_view->width()), float(_view->height())});
    _document->setViewTransform(AffineTransform(_view->transform()));
}

bool DocumentWindow::saveTo(const QString& path) {
    prepareForSave();
    const QString type = path.endsWith(QLatin1String(".vimotemplate"), Qt::CaseInsensitive)
                             ? QString::fromLatin1(DocumentFile::kTemplateType)
                             : QString::fromLatin1(DocumentFile::kDocumentType);
    const auto result = _document->writeToFile(path, type);
    if (!result) {
        QMessageBox::critical(this, tr("The drawing could not be saved"),
                              QString::fromStdString(result.reason()));
        return false;
    }
    if (type == QLatin1String(DocumentFile::kDocumentType)) {
        _path = QFileInfo(path).absoluteFilePath();
        _document->documentSaved();
    }
    updateTitle();
    emit fileUsed(QFileInfo(path).absoluteFilePath());
    return true;
}

bool DocumentWindow::save() {
    if (isUntitled()) return saveAs();
    return saveTo(_path);
}

bool DocumentWindow::saveAs() {
    QString path = QFileDialog::getSaveFileName(this, tr("Save"), isUntitled() ? QString() : _path,
                                                tr(kFileFilter));
    if (path.isEmpty()) return false;
    if (QFileInfo(path).suffix().isEmpty()) path += QStringLiteral(".vimo");
    return saveTo(path);
}

void DocumentWindow::revertToSaved() {
    if (isUntitled()) return;
    if (QMessageBox::question(this, tr("Revert to Saved"),
                              tr("Discard your changes and go back to the saved version?")) !=
        QMessageBox::Yes)
        return;
    const auto result = _document->readFromFile(_path);
    if (!result) {
        QMessageBox::critical(this, tr("The drawing could not be read"),
                              QString::fromStdString(result.reason()));
        return;
    }
    _document->undoManager().removeAllActions();
    showDocumentState();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    if (!_document->isDocumentEdited()) {
        event->accept();
        return;
    }
    const auto answer = QMessageBox::warning(
        this, tr("Unsaved changes"),
        tr("Do you want to save the changes you made to \u201c%1\u201d?")
            .arg(windowTitle().section(QStringLiteral("[*]"), 0, 0)),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (answer == QMessageBox::Cancel || (answer == QMessageBox::Save && !save())) {
        event->ignore();
        return;
    }
    event->accept();
}

// ---- colour dialog ------------------------------------------------------------

QColorDialog& DocumentWindow::colorPanel() {
    if (!_color_panel) {
        _color_panel = new QColorDialog(this);
        _color_panel->setOption(QColorDialog::ShowAlphaChannel, false);
        _color_panel->setOption(QColorDialog::NoButtons, true);
        connect(_color_panel, &QColorDialog::currentColorChanged, this, [this](const QColor& c) {
            if (!_color_panel->isVisible()) return;
            if (_panel_for_background)
                _document->backgroundColorChanged(vimoColor(c));
            else
                _document->toolColorChanged(vimoColor(c));
        });
    }
    return *_color_panel;
}

void DocumentWindow::showToolColorPanel() {
    showColorPanel(false, tr("Tool Colour"), _document->toolColor());
}

void DocumentWindow::showBackgroundColorPanel() {
    showColorPanel(true, tr("Background Colour"), _document->windowBackgroundColor());
}

void DocumentWindow::showColorPanel(bool background, const QString& title, const Color& shown) {
    QColorDialog& panel = colorPanel();
    _panel_for_background = background;
    panel.setWindowTitle(title);
    // Showing a colour is not choosing one.
    panel.blockSignals(true);
    panel.setCurrentColor(qColor(shown));
    panel.blockSignals(false);
    panel.show();
    panel.raise();
}
