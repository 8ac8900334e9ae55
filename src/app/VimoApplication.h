#pragma once

#include <QApplication>
#include <QStringList>
#include <QVariantMap>

#include <memory>

class DocumentWindow;
class QSettings;
class ScriptAlerts;

// The application object: opens drawing windows (new, from files, from the
// command line), keeps the Open Recent list, and turns the tablet's
// proximity events into the proximity notification every document observes
// (the eraser end switches to the eraser pen). Tablet and high-frequency
// pointer events are delivered uncompressed so that no pen sample is lost.
//
// The proximity dictionary has "enterProximity" (1 entering, 0 leaving),
// "pointerType" (0 unknown, 1 pen, 2 cursor, 3 eraser), "pointerID" (always
// 0: Qt does not number the tools of one stylus), "uniqueID" and
// "deviceID".
class VimoApplication : public QApplication {
    Q_OBJECT

public:
    // Call before constructing: event compression off.
    static void prepare();

    VimoApplication(int& argc, char** argv);
    ~VimoApplication() override;

    static VimoApplication* instance();
    QSettings& settings() { return *_settings; }

    DocumentWindow* newDocument();
    bool hasDocumentWindows() const;
    // Opens a file in a new window (or in the pristine untitled window);
    // shows a dialog saying why when it cannot be read.
    DocumentWindow* openFile(const QString& path);
    void openDialog(QWidget* parent);
    QStringList recentFiles() const;
    void clearRecentFiles();
    // Closes every window (asking about unsaved changes) and quits.
    void quitAll();

    static QVariantMap proximityInfo(bool entering, int pointerType, qint64 uniqueId);

signals:
    void proximity(const QVariantMap& userInfo);
    void recentFilesChanged();

protected:
    bool event(QEvent* event) override;

private:
    DocumentWindow* createWindow();
    void noteRecentFile(const QString& path);
    DocumentWindow* pristineWindow() const;

    std::unique_ptr<QSettings> _settings;
    std::unique_ptr<ScriptAlerts> _alerts;
};
