#pragma once

#include "model/DocumentFile.h"
#include "model/Strokes.h"
#include "tools/ToolDocument.h"

#include <QObject>
#include <QVariantMap>

#include <memory>
#include <string>
#include <string_view>

class ArrowTool;
class FillTool;
class MoveTool;
class Pen;
class QMimeData;
class RotateTool;
class ScriptAlerts;
class UndoManager;
class ZoomTool;

// The controller of one open drawing: it owns the stroke list (through the
// saved state it inherits), the undo manager and the six tools, knows the
// current tool and the view, and carries out the document's commands: tool
// selection, tool and background colours, pen and fill settings, the edit
// commands (copy, cut, paste, delete, clear, select all, duplicate, merge,
// reorder), temporary view tools and the switch to the eraser pen while the
// tablet's eraser end is near. Every edit command ends by asking the view to
// redraw from the lowest stroke that changed; undo and redo do the same
// through the stroke list's change handler.
//
// It needs no widgets: the window gives it a view (setMainView) and listens
// to its signals for the menus, the tool panel, the colour dialog and the
// title's modified mark. Without a view (tests, command-line tools) the
// commands still edit the list.
class VimoDocument : public QObject, public DocumentFile, public ToolDocument {
    Q_OBJECT

public:
    // The private clipboard type: a keyed archive with "strokes" and
    // "transform".
    static constexpr const char* kPasteboardType = "application/x-vimo-strokes";

    // pensDir and libDir: the pen scripts' folders; empty for the resource
    // folders "Pens" and "Lib". alerts: where script faults are shown
    // (logged when null).
    explicit VimoDocument(QSettings* settings = nullptr, ScriptAlerts* alerts = nullptr,
                          const std::string& pensDir = {}, const std::string& libDir = {});
    ~VimoDocument() override;

    // The window's view; none until the window exists.
    void setMainView(ToolView* view) { _main_view = view; }
    ToolView* view() override { return _main_view; }
    UndoManager& undoManager() { return *_undo; }

    // Changes that are not undo steps (view transform, background colour)
    // count as edits until the next save.
    void updateChangeCount();
    // Unsaved edits: undo steps since the last save, or other changes.
    bool isDocumentEdited() const;
    // After a successful save: nothing is unsaved any more.
    void documentSaved();

    // The tools.
    Pen& pen() { return *_pen; }
    FillTool& fill() { return *_fill; }
    ArrowTool& arrow() { return *_arrow; }
    ZoomTool& zoom() { return *_zoom; }
    RotateTool& rotator() { return *_rotate; }
    MoveTool& mover() { return *_move; }

    // ToolDocument.
    Tool* tool() const override { return _tool; }
    // The only place where the current tool changes: nothing when t is
    // current; else the old tool is deactivated, t becomes current, the tool
    // display is updated, t is activated and the view marked for display.
    void setTool(Tool* t) override;
    // To the fill tool when it is current, to the pen when it is current,
    // dropped otherwise; the tool display is updated in every case.
    void setToolColor(const Color& c) override;
    // Appends a stroke, paints it into the view's canvas and registers undo.
    void addStroke(std::shared_ptr<Stroke> stroke) override;
    Strokes& strokes() override { return DocumentFile::strokes(); }
    void transformStrokesInArray(const Strokes::StrokeArray& array,
                                 const AffineTransform& t) override;
    void refreshCursor() override;

    // Tool selection commands, and the temporary tools that hand back to the
    // current tool after one gesture.
    void penTool();
    void arrowTool();
    void fillTool();
    void zoomTool();
    void rotateTool();
    void moveTool();
    void zoomToRect();
    void rotate();
    void move();

    // Colours.
    // The fill tool's colour when it is current, else the pen's.
    Color toolColor() const;
    // A colour chosen in the colour dialog for the tool colour.
    void toolColorChanged(const Color& c);
    void setBlackColor();
    void setBlueColor();
    void setBrownColor();
    void setCyanColor();
    void setGreenColor();
    void setMagentaColor();
    void setOrangeColor();
    void setPurpleColor();
    void setRedColor();
    void setYellowColor();
    void setWhiteColor();
    // The named colours of the Colours menu ("black", "blue", "brown",
    // "cyan", "green", "magenta", "orange", "purple", "red", "yellow",
    // "white"); black for any other name.
    static Color namedColor(std::string_view name);
    // A background colour chosen in the colour dialog; a change.
    void backgroundColorChanged(const Color& c);
    // No background (transparent); a change.
    void clearBackgroundColor();
    // What the window shows where the drawing is transparent: the
    // background colour, or white without one.
    Color windowBackgroundColor() const;

    // Pen and fill settings (each ends with updateToolDisplay).
    void setPenOpacity(float opacity);
    void setPenSize(float radius);
    void setPenParameter(const std::string& name, float value);
    // Selects the pen tool and the named pen type (unknown names keep the
    // current pen type).
    void setPenTypeName(const std::string& name);
    void setPenTransferMode(int mode);
    void setFillOpacity(float opacity);
    void setFillTolerance(float tolerance);
    void setFillExpand(int expand);
    void setFillTransferMode(int mode);
    // Menu forms, from the menu item's title: "50%" or "50" sets the opacity
    // to 0.5; "12" or "12 pt" the radius to 12; a pen type name selects it.
    void penOpacity(const QString& title);
    void penSize(const QString& title);
    void setPenType(const QString& title);
    // Brings menus, tool panel, colour dialog and cursor up to date.
    void updateToolDisplay();

    // Edit commands: on the arrow tool's selection when the arrow tool is
    // current, otherwise on the topmost stroke.
    void deleteStrokes(); // the Delete command
    void cut();
    void copy();
    void paste();
    void clear();
    void selectAll();
    void duplicate();
    void mergeStrokes();
    void bringForward();
    void bringToFront();
    void sendBackward();
    void sendToBack();
    // With the arrow tool current, keeps only the selected strokes still in
    // the list; otherwise clears the selection.
    void updateSelection();
    // Whether a command can run now, by its action name ("mergeStrokes",
    // "bringForward", "bringToFront", "sendBackward", "sendToBack",
    // "duplicate"); every other action is always enabled.
    bool validateMenuItem(std::string_view action) const;

    // The clipboard form of strokes (world coordinates of the source, with
    // the source view's transform) and the reverse; none when data holds no
    // valid archive.
    QMimeData* mimeDataForStrokes(const Strokes::StrokeArray& sorted) const;
    bool pasteMimeData(const QMimeData& data);

    // Places a picture as an image stroke centred on a view point (fitted
    // into the view with a margin) and redraws it.
    std::shared_ptr<Stroke> addImage(const QImage& image, Point centre, float opacity = 1);
    // Adds the strokes of another drawing's file content, their common
    // bounds centred on a world point and scaled by a factor.
    Result addVimoDocument(const QByteArray& data, Point centre, float scale);

    // Undo and redo of the last step (the view redraws what changed).
    void undo();
    void redo();

    // The tablet proximity notification ("enterProximity", "pointerID",
    // "pointerType"): when the eraser end comes near, the "Eraser" pen type
    // is selected; when the pen tip next comes near, the earlier tool or pen
    // type returns. Leaving proximity changes nothing.
    void handleProximity(const QVariantMap& userInfo);
    bool erasing() const { return _erasing; }

signals:
    // The current tool, pen type, pen settings or tool colour changed:
    // menus, tool panel and colour dialog follow.
    void toolDisplayChanged();
    // isDocumentEdited() may have changed.
    void editedChanged();

protected:
    void strokesReplaced() override;

private:
    void connectStrokes();
    bool arrowCurrent() const;
    void reorder(void (Strokes::*command)(const Strokes::StrokeArray&), bool toBack);
    AffineMatrix currentViewMatrix() const;
    Point viewCentre() const;
    void redrawFromStroke(int index);
    void setNeedsDisplay();
    Strokes::StrokeArray editTargets() const;

    ToolView* _main_view = nullptr; // not owned
    std::unique_ptr<UndoManager> _undo;
    std::unique_ptr<Pen> _pen;
    std::unique_ptr<ZoomTool> _zoom;
    std::unique_ptr<RotateTool> _rotate;
    Tool* _tool = nullptr; // one of the six; not owned
    std::unique_ptr<MoveTool> _move;
    std::unique_ptr<FillTool> _fill;
    std::unique_ptr<ArrowTool> _arrow;
    Tool* _eraser_saved_tool = nullptr;
    std::optional<std::string> _eraser_saved_pen_type_name;
    bool _erasing = false;
    int _change_count = 0;
};
