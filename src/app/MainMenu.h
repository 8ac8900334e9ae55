#pragma once

#include <QObject>
#include <QString>

#include <functional>

class DocumentWindow;
class QAction;
class QKeySequence;
class QMenu;

// The menu bar of a drawing's window: File, Edit, View, Tools, Pen and
// Colours. Standard key sequences where Qt has one; single keys for the
// tools (P pen, V arrow, F fill, Z zoom, R rotate, H move). Edit commands
// are enabled by the document's rules each time the menu opens and checked
// again when triggered by a shortcut.
class MainMenu : public QObject {
    Q_OBJECT

public:
    explicit MainMenu(DocumentWindow& window);

    // The current tool and pen type are checked.
    void updateToolDisplay();
    // Open Recent follows the list kept in the user defaults.
    void updateRecentFiles();

private:
    void buildFile();
    void buildEdit();
    void buildView();
    void buildTools();
    void buildPen();
    void buildColours();
    QAction* add(QMenu* menu, const QString& text, const QKeySequence& keys,
                 std::function<void()> action, const char* validation = nullptr);
    void validateEditMenu();

    DocumentWindow& _window;
    QMenu* _recent = nullptr;
    QMenu* _edit = nullptr;
    QMenu* _pen_types = nullptr;
    QAction* _undo = nullptr;
    QAction* _redo = nullptr;
    QAction* _tool_actions[6] = {};
};
