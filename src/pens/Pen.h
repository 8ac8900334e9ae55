#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"
#include "tools/Tool.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class BezierPath;
class Lua;
class PenPoints;
class ScriptAlerts;
class ToolDocument;

// The drawing tool. It owns the pen types (one Lua state per script in the
// "Pens" folder), the current pen type and the pen settings: colour,
// opacity, radius (bitmap units) and transfer mode. An ordinary pen type
// records the samples of a gesture with a live preview and adds one stroke
// built from them at pen-up; a custom pen type (script global "custom_pen")
// hands the gesture to its script. With option held a down event picks a
// colour from the canvas instead.
//
// Settings live in the pen type's script globals while another pen type is
// current: "color" (six lower-case hex digits), "opacity", "radius", "mode".
class Pen : public Tool {
public:
    explicit Pen(ToolDocument& document, ScriptAlerts* alerts = nullptr);
    Pen(ToolDocument& document, const std::string& pensDir, const std::string& libDir,
        ScriptAlerts* alerts = nullptr);
    ~Pen() override;
    Pen(const Pen&) = delete;
    Pen& operator=(const Pen&) = delete;

    ToolDocument& document() const { return _document; }

    const Color& color() const { return _color; }
    void setColor(const Color& c) { _color = c; }
    float opacity() const { return _opacity; }
    void setOpacity(float o) { _opacity = o; }
    float radius() const { return _radius; }
    void setRadius(float r) { _radius = r; }
    int transferMode() const { return _mode; }
    void setTransferMode(int mode) { _mode = mode; }
    std::string transferModeString() const;
    // Lower-cased, unknown names give "normal"; nothing means "normal".
    void setTransferModeString(const std::optional<std::string>& name);

    // Pen types.
    std::string penTypeName() const;
    // The name, two blanks and the key equivalent with its modifier symbols.
    std::string penTypeNameWithKeyEquivalent() const;
    const Lua* penTypeId() const { return _pen_type; }
    Lua* penType() const { return _pen_type; }
    // Unknown names are ignored.
    void setPenTypeName(const std::string& localizedName);
    // The catalogue's names, sorted.
    std::vector<std::string> penTypeNames() const;
    Lua* penTypeNamed(const std::string& localizedName) const;
    bool customPen() const { return _custom_pen; }
    bool penDown() const { return _pen_down; }
    int iconPosition() const;
    std::vector<std::string> customParameters() const;
    float getParameter(const std::string& name) const;
    void setParameter(const std::string& name, float value);
    float parameterMin(const std::string& name) const;
    float parameterMax(const std::string& name) const;

    // Tool protocol.
    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;
    void toolMoveEvent(const ToolEvent& event, Point to) override;
    void toolUpEvent(const ToolEvent& event) override;
    void toolDrawInView(ToolView& view) override;
    void toolActivate() override { _option_down = false; }
    void toolFlagsChanged(const ToolEvent& event) override;
    ToolCursor toolCursor() const override;

    // Internal.
    void previewPoint(Point p, float pressure);
    void previewStrokeFrom(Point from, Point to, float pressureFrom, float pressureTo);
    void previewBezierPath(const BezierPath& path);
    // Every ".lua" file of the folder, in name order so that the default pen
    // type does not depend on the file system's listing order.
    void enumeratePenTypes();
    void savePenTypeSettings();
    void setPenTypeLua(Lua* lua);
    Rect previewRect() const { return _preview_rect; }

private:
    Point worldPoint(Point bitmapPoint) const;
    float worldRadius(float pressure) const;

    ToolDocument& _document; // not owned
    std::string _pens_dir;
    std::string _lib_dir;
    ScriptAlerts* _alerts = nullptr;
    ToolCursor _color_picker_cursor;
    std::map<std::string, std::unique_ptr<Lua>> _pen_types;
    Lua* _default_pen_type = nullptr;
    Lua* _pen_type = nullptr;
    int _mode = 0;
    Color _color = Color::black();
    float _opacity = 1;
    float _radius = 5;
    bool _custom_pen = false;
    bool _pen_down = false;
    float _pen_down_pressure = 0;
    Point _pen_down_point;
    bool _option_down = false;
    ToolView* _view = nullptr; // not owned
    std::shared_ptr<PenPoints> _pen_points;
    Rect _preview_rect;
};
