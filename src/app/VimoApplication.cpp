#include "app/VimoApplication.h"

#include "app/DialogScriptAlerts.h"
#include "app/DocumentWindow.h"
#include "tools/VimoDocument.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointingDevice>
#include <QSettings>
#include <QTabletEvent>

namespace {

constexpr const char* kRecentFilesKey = "Recent files";
constexpr int kMaxRecentFiles = 10;

QList<DocumentWindow*> documentWindows() {
    QList<DocumentWindow*> windows;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<DocumentWindow*>(w);
            d && !d->testAttribute(Qt::WA_WState_Hidden))
            windows.append(d);
    return windows;
}

} // namespace

void VimoApplication::prepare() {
    // Every pen sample counts: no merging of pointer events.
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
    QCoreApplication::setAttribute(Qt::AA_CompressTabletEvents, false);
    QCoreApplication::setOrganizationName(QStringLiteral("Vimo"));
    QCoreApplication::setApplicationName(QStringLiteral("Vimo"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1"));
}

VimoApplication::VimoApplication(int& argc, char** argv)
    : QApplication(argc, argv), _settings(std::make_unique<QSettings>()),
      _alerts(std::make_unique<DialogScriptAlerts>()) {
    setQuitOnLastWindowClosed(true);
}

VimoApplication::~VimoApplication() = default;

VimoApplication* VimoApplication::instance() {
    return qobject_cast<VimoApplication*>(QCoreApplication::instance());
}

DocumentWindow* VimoApplication::createWindow() {
    auto* window = new DocumentWindow(_settings.get(), _alerts.get());
    VimoDocument* document = &window->document();
    connect(this, &VimoApplication::proximity, document, &VimoDocument::handleProximity);
    connect(window, &DocumentWindow::fileUsed, this, &VimoApplication::noteRecentFile);
    return window;
}

DocumentWindow* VimoApplication::newDocument() {
    DocumentWindow* window = createWindow();
    window->show();
    return window;
}

bool VimoApplication::hasDocumentWindows() const {
    return !documentWindows().isEmpty();
}

DocumentWindow* VimoApplication::pristineWindow() const {
    for (DocumentWindow* w : documentWindows())
        if (w->isPristine()) return w;
    return nullptr;
}

DocumentWindow* VimoApplication::openFile(const QString& path) {
    // An open file is brought to the front rather than opened twice.
    const QString absolute = QFileInfo(path).absoluteFilePath();
    for (DocumentWindow* w : documentWindows()) {
        if (w->filePath() == absolute) {
            w->raise();
            w->activateWindow();
            return w;
        }
    }
    DocumentWindow* reused = pristineWindow();
    DocumentWindow* window = reused ? reused : createWindow();
    QString reason;
    if (!window->openFile(path, &reason)) {
        QMessageBox::critical(
            reused, tr("The file could not be opened"),
            tr("\u201c%1\u201d could not be opened: %2.").arg(QFileInfo(path).fileName(), reason));
        if (!reused) delete window;
        return nullptr;
    }
    window->show();
    return window;
}

void VimoApplication::openDialog(QWidget* parent) {
    const QStringList paths = QFileDialog::getOpenFileNames(
        parent, tr("Open"), QString(),
        tr("Vimo drawings (*.vimo *.vimotemplate);;Pictures (*.png *.jpg *.jpeg *.gif *.tif "
           "*.tiff *.bmp *.webp);;All files (*)"));
    for (const QString& p : paths) openFile(p);
}

QStringList VimoApplication::recentFiles() const {
    return _settings->value(kRecentFilesKey).toStringList();
}

void VimoApplication::clearRecentFiles() {
    _settings->remove(kRecentFilesKey);
    emit recentFilesChanged();
}

void VimoApplication::noteRecentFile(const QString& path) {
    QStringList list = recentFiles();
    list.removeAll(path);
    list.prepend(path);
    while (list.size() > kMaxRecentFiles) list.removeLast();
    _settings->setValue(kRecentFilesKey, list);
    emit recentFilesChanged();
}

void VimoApplication::quitAll() {
    for (DocumentWindow* w : documentWindows())
        if (!w->close()) return;
    quit();
}

QVariantMap VimoApplication::proximityInfo(bool entering, int pointerType, qint64 uniqueId) {
    return {{QStringLiteral("enterProximity"), entering ? 1 : 0},
            {QStringLiteral("pointerID"), 0},
            {QStringLiteral("pointerType"), pointerType},
            {QStringLiteral("uniqueID"), uniqueId},
            {QStringLiteral("deviceID"), 0}};
}

bool VimoApplication::event(QEvent* event) {
    if (event->type() == QEvent::TabletEnterProximity ||
        event->type() == QEvent::TabletLeaveProximity) {
        const auto* tablet = static_cast<QTabletEvent*>(event);
        int type = 0;
        switch (tablet->pointerType()) {
        case QPointingDevice::PointerType::Pen:
            type = 1;
            break;
        case QPointingDevice::PointerType::Cursor:
            type = 2;
            break;
        case QPointingDevice::PointerType::Eraser:
            type = 3;
            break;
        default:
            type = 0;
            break;
        }
        emit proximity(proximityInfo(event->type() == QEvent::TabletEnterProximity, type,
                                     tablet->pointingDevice()
                                         ? qint64(tablet->pointingDevice()->uniqueId().numericId())
                                         : 0));
        return true;
    }
    return QApplication::event(event);
}
