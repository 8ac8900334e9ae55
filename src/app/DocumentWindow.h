#pragma once

#include <QMainWindow>
#include <QString>

#include <memory>

class Color;
class MainMenu;
class QColorDialog;
class QSettings;
class ScriptAlerts;
class VimoDocument;
class VimoView;

// The window of one open drawing: it owns the document and shows its view;
// it carries out the file commands (save, save as, revert), keeps the title
// (file name and modified mark) up to date, asks before closing with unsaved
// changes, and hosts the colour dialog for the tool and background colours.
class DocumentWindow : public QMainWindow {
    Q_OBJECT

public:
    DocumentWindow(QSettings* settings, ScriptAlerts* alerts, QWidget* parent = nullptr);
    ~DocumentWindow() override;

    VimoDocument& document() { return *_document; }
    VimoView& view() { return *_view; }
    const QString& filePath() const { return _path; }
    bool isUntitled() const { return _path.isEmpty(); }
    // Untitled, unchanged and empty: an open file may take its place.
    bool isPristine() const;

    // Reads a file into this (new) window; false with a reason on failure.
    bool openFile(const QString& path, QString* reason);
    // The file commands; false when the user cancelled or saving failed.
    bool save();
    bool saveAs();
    bool saveTo(const QString& path);
    void revertToSaved();

    // The colour dialog, for the tool colour or the background colour.
    void showToolColorPanel();
    void showBackgroundColorPanel();

signals:
    // A file was opened or saved under a path (for Open Recent).
    void fileUsed(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void updateTitle();
    void prepareForSave();
    void showDocumentState();
    QColorDialog& colorPanel();
    void showColorPanel(bool background, const QString& title, const Color& shown);

    QSettings* _settings; // not owned
    std::unique_ptr<VimoDocument> _document;
    VimoView* _view = nullptr; // owned by the window as its central widget
    MainMenu* _menu = nullptr;
    QColorDialog* _color_panel = nullptr;
    bool _panel_for_background = false;
    QString _path;
    int _untitled_number = 0;
};
