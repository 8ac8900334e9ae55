#include "app/MainMenu.h"

#include "app/DocumentWindow.h"
#include "app/VimoApplication.h"
#include "fill/FillTool.h"
#include "model/UndoManager.h"
#include "pens/Pen.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/RotateTool.h"
#include "tools/VimoDocument.h"
#include "tools/ZoomTool.h"
#include "view/VimoView.h"

#include <QAction>
#include <QActionGroup>
#include <QFileInfo>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QUndoStack>

MainMenu::MainMenu(DocumentWindow& window) : QObject(&window), _window(window) {
    buildFile();
    buildEdit();
    buildView();
    buildTools();
    buildPen();
    buildColours();
    updateToolDisplay();
}

QAction* MainMenu::add(QMenu* menu, const QString& text, const QKeySequence& keys,
                       std::function<void()> action, const char* validation) {
    QAction* a = menu->addAction(text);
    a->setShortcut(keys);
    if (validation) a->setObjectName(QString::fromLatin1(validation));
    const std::string check = validation ? validation : "";
    connect(a, &QAction::triggered, this, [this, action = std::move(action), check] {
        // Shortcuts do not open the menu: check the document's rule here too.
        if (!check.empty() && !_window.document().validateMenuItem(check)) return;
        action();
        _window.document().undoManager().endEventGroup();
    });
    return a;
}

void MainMenu::buildFile() {
    QMenu* m = _window.menuBar()->addMenu(tr("&File"));
    auto* app = VimoApplication::instance();
    add(m, tr("&New"), QKeySequence::New, [app] {
        if (app) app->newDocument();
    });
    add(m, tr("&Open\u2026"), QKeySequence::Open, [this, app] {
        if (app) app->openDialog(&_window);
    });
    _recent = m->addMenu(tr("Open &Recent"));
    if (app) connect(app, &VimoApplication::recentFilesChanged, this, &MainMenu::updateRecentFiles);
    updateRecentFiles();
    m->addSeparator();
    add(m, tr("&Close"), QKeySequence::Close, [this] { _window.close(); });
    add(m, tr("&Save"), QKeySequence::Save, [this] { _window.save(); });
    add(m, tr("Save &As\u2026"), QKeySequence::SaveAs, [this] { _window.saveAs(); });
    add(m, tr("Re&vert to Saved"), QKeySequence(), [this] { _window.revertToSaved(); });
    m->addSeparator();
    add(m, tr("&Quit"), QKeySequence::Quit, [app] {
        if (app) app->quitAll();
    });
}

void MainMenu::updateRecentFiles() {
    _recent->clear();
    auto* app = VimoApplication::instance();
    const QStringList files = app ? app->recentFiles() : QStringList();
    for (const QString& f : files) {
        QAction* a = _recent->addAction(QFileInfo(f).fileName());
        a->setToolTip(f);
        connect(a, &QAction::triggered, this, [app, f] { app->openFile(f); });
    }
    _recent->addSeparator();
    QAction* clear = _recent->addAction(tr("Clear Menu"));
    clear->setEnabled(!files.isEmpty());
    connect(clear, &QAction::triggered, this, [app] { app->clearRecentFiles(); });
}

void MainMenu::buildEdit() {
    VimoDocument& d = _window.document();
    VimoView& v = _window.view();
    QMenu* m = _edit = _window.menuBar()->addMenu(tr("&Edit"));
    _undo = add(m, tr("&Undo"), QKeySequence::Undo, [&d] { d.undo(); });
    _redo = add(m, tr("&Redo"), QKeySequence::Redo, [&d] { d.redo(); });
    m->addSeparator();
    add(m, tr("Cu&t"), QKeySequence::Cut, [&d] { d.cut(); });
    add(m, tr("&Copy"), QKeySequence::Copy, [&d] { d.copy(); });
    add(m, tr("&Paste"), QKeySequence::Paste, [&d] { d.paste(); });
    add(m, tr("&Delete"), QKeySequence::Delete, [&d] { d.deleteStrokes(); });
    add(m, tr("C&lear"), QKeySequence(), [&d] { d.clear(); });
    add(m, tr("Select &All"), QKeySequence::SelectAll, [&d] { d.selectAll(); });
    m->addSeparator();
    add(
        m, tr("D&uplicate"), QKeySequence(tr("Ctrl+D")), [&d] { d.duplicate(); }, "duplicate");
    add(
        m, tr("&Merge"), QKeySequence(tr("Ctrl+M")), [&d] { d.mergeStrokes(); }, "mergeStrokes");
    add(
        m, tr("Bring &Forward"), QKeySequence(tr("Ctrl+]")), [&d] { d.bringForward(); },
        "bringForward");
    add(
        m, tr("Bring to Fr&ont"), QKeySequence(tr("Ctrl+Shift+]")), [&d] { d.bringToFront(); },
        "bringToFront");
    add(
        m, tr("Send &Backward"), QKeySequence(tr("Ctrl+[")), [&d] { d.sendBackward(); },
        "sendBackward");
    add(
        m, tr("Send to Bac&k"), QKeySequence(tr("Ctrl+Shift+[")), [&d] { d.sendToBack(); },
        "sendToBack");
    m->addSeparator();
    QMenu* bitmap = m->addMenu(tr("Copy &Bitmap"));
    add(bitmap, tr("At 1\u00d7 Resolution"), QKeySequence(tr("Ctrl+Shift+C")),
        [&v] { v.copyBitmap(); });
    add(bitmap, tr("At 2\u00d7 Resolution"), QKeySequence(),
        [&v] { v.copyBitmapDoubleResolution(); });
    add(bitmap, tr("At 3\u00d7 Resolution"), QKeySequence(),
        [&v] { v.copyBitmapTripleResolution(); });
    add(bitmap, tr("At 4\u00d7 Resolution"), QKeySequence(),
        [&v] { v.copyBitmapQuadrupleResolution(); });
    connect(m, &QMenu::aboutToShow, this, &MainMenu::validateEditMenu);
    validateEditMenu();
    connect(&d.undoManager().undoStack(), &QUndoStack::indexChanged, this,
            &MainMenu::validateEditMenu);
}

void MainMenu::validateEditMenu() {
    VimoDocument& d = _window.document();
    for (QAction* a : _edit->actions())
        if (!a->objectName().isEmpty())
            a->setEnabled(d.validateMenuItem(a->objectName().toStdString()));
    UndoManager& undo = d.undoManager();
    _undo->setEnabled(undo.canUndo());
    _redo->setEnabled(undo.canRedo());
    _undo->setText(undo.canUndo() && !undo.undoActionName().isEmpty()
                       ? tr("&Undo %1").arg(undo.undoActionName())
                       : tr("&Undo"));
    _redo->setText(undo.canRedo() && !undo.redoActionName().isEmpty()
                       ? tr("&Redo %1").arg(undo.redoActionName())
                       : tr("&Redo"));
}

void MainMenu::buildView() {
    VimoView& v = _window.view();
    VimoDocument& d = _window.document();
    QMenu* m = _window.menuBar()->addMenu(tr("&View"));
    add(m, tr("Zoom &In"), QKeySequence::ZoomIn, [&v] { v.zoomIn(); });
    add(m, tr("Zoom &Out"), QKeySequence::ZoomOut, [&v] { v.zoomOut(); });
    add(m, tr("Zoom to &Fit"), QKeySequence(tr("Ctrl+0")), [&v] { v.zoomToFit(); });
    add(m, tr("Zoom to &Rectangle"), QKeySequence(), [&d] { d.zoomToRect(); });
    m->addSeparator();
    add(m, tr("R&otate"), QKeySequence(), [&d] { d.rotate(); });
    add(m, tr("Reset Ro&tation"), QKeySequence(tr("Ctrl+Shift+R")), [&v] { v.resetRotation(); });
    add(m, tr("&Move"), QKeySequence(), [&d] { d.move(); });
    m->addSeparator();
    add(m, tr("Page &Up"), QKeySequence(Qt::Key_PageUp), [&v] { v.pageUp(); });
    add(m, tr("Page &Down"), QKeySequence(Qt::Key_PageDown), [&v] { v.pageDown(); });
    add(m, tr("Move Up"), QKeySequence(Qt::Key_Up), [&v] { v.moveUp(); });
    add(m, tr("Move Down"), QKeySequence(Qt::Key_Down), [&v] { v.moveDown(); });
    add(m, tr("Move Left"), QKeySequence(Qt::Key_Left), [&v] { v.moveLeft(); });
    add(m, tr("Move Right"), QKeySequence(Qt::Key_Right), [&v] { v.moveRight(); });
}

void MainMenu::buildTools() {
    VimoDocument& d = _window.document();
    QMenu* m = _window.menuBar()->addMenu(tr("&Tools"));
    auto* group = new QActionGroup(this);
    const struct {
        const char* text;
        const char* key;
        void (VimoDocument::*select)();
    } tools[6] = {
        {"&Pen", "P", &VimoDocument::penTool},       {"&Arrow", "V", &VimoDocument::arrowTool},
        {"&Fill", "F", &VimoDocument::fillTool},     {"&Zoom", "Z", &VimoDocument::zoomTool},
        {"&Rotate", "R", &VimoDocument::rotateTool}, {"&Move", "H", &VimoDocument::moveTool},
    };
    for (int i = 0; i < 6; ++i) {
        auto select = tools[i].select;
        QAction* a = add(m, tr(tools[i].text), QKeySequence(QString::fromLatin1(tools[i].key)),
                         [&d, select] { (d.*select)(); });
        a->setCheckable(true);
        group->addAction(a);
        _tool_actions[i] = a;
    }
}

void MainMenu::buildPen() {
    VimoDocument& d = _window.document();
    _pen_types = _window.menuBar()->addMenu(tr("Pe&n"));
    auto* group = new QActionGroup(this);
    for (const std::string& name : d.pen().penTypeNames()) {
        const QString title = QString::fromStdString(name);
        QAction* a = _pen_types->addAction(title);
        a->setCheckable(true);
        group->addAction(a);
        connect(a, &QAction::triggered, this, [&d, title] { d.setPenType(title); });
    }
}

void MainMenu::buildColours() {
    VimoDocument& d = _window.document();
    QMenu* m = _window.menuBar()->addMenu(tr("&Colours"));
    const struct {
        const char* text;
        void (VimoDocument::*set)();
    } named[] = {
        {"Black", &VimoDocument::setBlackColor},   {"Blue", &VimoDocument::setBlueColor},
        {"Brown", &VimoDocument::setBrownColor},   {"Cyan", &VimoDocument::setCyanColor},
        {"Green", &VimoDocument::setGreenColor},   {"Magenta", &VimoDocument::setMagentaColor},
        {"Orange", &VimoDocument::setOrangeColor}, {"Purple", &VimoDocument::setPurpleColor},
        {"Red", &VimoDocument::setRedColor},       {"Yellow", &VimoDocument::setYellowColor},
        {"White", &VimoDocument::setWhiteColor},
    };
    for (const auto& c : named) {
        auto set = c.set;
        add(m, tr(c.text), QKeySequence(), [&d, set] { (d.*set)(); });
    }
    m->addSeparator();
    add(m, tr("&Tool Colour\u2026"), QKeySequence(tr("Ctrl+Shift+K")),
        [this] { _window.showToolColorPanel(); });
    add(m, tr("&Background Colour\u2026"), QKeySequence(),
        [this] { _window.showBackgroundColorPanel(); });
    add(m, tr("&No Background"), QKeySequence(), [&d] { d.clearBackgroundColor(); });
}

void MainMenu::updateToolDisplay() {
    VimoDocument& d = _window.document();
    const Tool* current = d.tool();
    const Tool* tools[6] = {&d.pen(), &d.arrow(), &d.fill(), &d.zoom(), &d.rotator(), &d.mover()};
    for (int i = 0; i < 6; ++i) _tool_actions[i]->setChecked(current == tools[i]);
    const QString penType = QString::fromStdString(d.pen().penTypeName());
    for (QAction* a : _pen_types->actions()) a->setChecked(a->text() == penType);
}
