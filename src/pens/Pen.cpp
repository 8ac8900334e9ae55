#include "pens/Pen.h"

#include "model/BezierPath.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/VimoCanvas.h"
#include "pens/Localization.h"
#include "pens/Lua.h"
#include "pens/PenCallbacks.h"
#include "pens/PenScriptApi.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"
#include "raster/Path.h"
#include "tools/ResourcePaths.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <QString>

#include <lua.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

std::string lowered(const std::string& s) {
    return QString::fromStdString(s).toLower().toStdString();
}

// The symbol a part of a "key" global stands for in menu titles.
std::string keySymbol(const std::string& part) {
    const std::string p = lowered(part);
    const char* key = nullptr;
    if (p == "shift")
        key = "shift_key";
    else if (p == "control")
        key = "control_key";
    else if (p == "alt" || p == "opt" || p == "option")
        key = "option_key";
    else if (p == "cmd")
        key = "command_key";
    else if (p == "numpad")
        key = "numpad_key";
    else if (p == "f")
        key = "function_key";
    if (key) return Localization::localizedString(key);
    return QString::fromStdString(part).toUpper().toStdString();
}

} // namespace

Pen::Pen(ToolDocument& document, ScriptAlerts* alerts)
    : Pen(document, ResourcePaths::pensDir(), ResourcePaths::libDir(), alerts) {}

Pen::Pen(ToolDocument& document, const std::string& pensDir, const std::string& libDir,
         ScriptAlerts* alerts)
    : _document(document), _pens_dir(pensDir), _lib_dir(libDir), _alerts(alerts) {
    PenScriptApi::install();
    _color_picker_cursor = Tool::loadCursor("color_picker_cursor", {0, 15});
    enumeratePenTypes();
    setPenTypeLua(_default_pen_type);
}

Pen::~Pen() {
    if (Lua::context().pen == this) Lua::setContextView(nullptr, nullptr);
}

// ---- settings ------------------------------------------------------------------

std::string Pen::transferModeString() const {
    return Tool::transferModeIntToString(_mode);
}

void Pen::setTransferModeString(const std::optional<std::string>& name) {
    _mode = Tool::transferModeStringToInt(name.value_or("normal"));
}

// ---- pen types -----------------------------------------------------------------

void Pen::enumeratePenTypes() {
    _default_pen_type = nullptr;
    std::vector<std::filesystem::path> files;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(_pens_dir, ec))
        if (entry.path().extension() == ".lua") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        std::unique_ptr<Lua> lua = Lua::luaRunningFile(file.string(), _pens_dir, _lib_dir, _alerts);
        const std::optional<std::string> name = lua->getGlobalStringLocalized("name");
        if (!name) continue;
        Lua* state = lua.get();
        const bool isDefault = lua->getGlobalBoolean("default", false);
        auto existing = _pen_types.find(*name);
        if (existing != _pen_types.end() && existing->second.get() == _default_pen_type)
            _default_pen_type = state; // the replaced script must not stay the default
        _pen_types[*name] = std::move(lua);
        if (isDefault || !_default_pen_type) _default_pen_type = state;
    }
}

void Pen::savePenTypeSettings() {
    if (!_pen_type) return;
    const Color c = _color.usingSpace(Color::Space::CalibratedRGB);
    auto byte = [](float v) { return int(std::trunc(v * 255 + 0.5f)); };
    char hex[32];
    std::snprintf(hex, sizeof hex, "%02x%02x%02x", byte(c.redComponent()) & 0xff,
                  byte(c.greenComponent()) & 0xff, byte(c.blueComponent()) & 0xff);
    _pen_type->setGlobal("opacity", _opacity);
    _pen_type->setGlobal("color", std::string(hex));
    _pen_type->setGlobal("radius", _radius);
    _pen_type->setGlobal("mode", transferModeString());
}

void Pen::setPenTypeLua(Lua* lua) {
    savePenTypeSettings();
    _pen_type = lua;
    if (!lua) return;
    _color = Color::black();
    // Only a string counts; a number would read as decimal digits.
    if (const std::optional<std::string> hex = lua->getGlobalString("color");
        hex && lua->getGlobalType("color") == LUA_TSTRING) {
        const unsigned long v = std::strtoul(hex->c_str(), nullptr, 16);
        _color = Color::calibrated(float((v >> 16) & 255) / 255, float((v >> 8) & 255) / 255,
                                   float(v & 255) / 255, 1);
    }
    setTransferModeString(lua->getGlobalString("mode"));
    _opacity = lua->getGlobalNumber("opacity", 1.0f);
    _radius = lua->getGlobalNumber("radius", 5.0f);
    _custom_pen = lua->getGlobalBoolean("custom_pen", false);
}

std::string Pen::penTypeName() const {
    if (!_pen_type) return {};
    return _pen_type->getGlobalStringLocalized("name").value_or("");
}

std::string Pen::penTypeNameWithKeyEquivalent() const {
    std::string result = penTypeName() + "  ";
    if (!_pen_type) return result;
    const std::optional<std::string> key = _pen_type->getGlobalString("key");
    if (!key) return result;
    std::size_t start = 0;
    while (true) {
        const std::size_t dash = key->find('-', start);
        result += keySymbol(key->substr(start, dash - start));
        if (dash == std::string::npos) break;
        start = dash + 1;
    }
    return result;
}

void Pen::setPenTypeName(const std::string& localizedName) {
    if (Lua* lua = penTypeNamed(localizedName)) setPenTypeLua(lua);
}

Lua* Pen::penTypeNamed(const std::string& localizedName) const {
    auto it = _pen_types.find(localizedName);
    return it == _pen_types.end() ? nullptr : it->second.get();
}

std::vector<std::string> Pen::penTypeNames() const {
    std::vector<std::string> names;
    for (const auto& [name, lua] : _pen_types) names.push_back(name);
    return names;
}

int Pen::iconPosition() const {
    return _pen_type ? int(_pen_type->getGlobalNumber("icon_position", -1)) : -1;
}

std::vector<std::string> Pen::customParameters() const {
    return _pen_type ? _pen_type->getGlobalStringArray("parameters") : std::vector<std::string>{};
}

float Pen::getParameter(const std::string& name) const {
    return _pen_type ? _pen_type->getGlobalNumber(name, 0) : 0;
}

void Pen::setParameter(const std::string& name, float value) {
    if (_pen_type) _pen_type->setGlobal(name, value);
}

float Pen::parameterMin(const std::string& name) const {
    return getParameter(name + "_min");
}

float Pen::parameterMax(const std::string& name) const {
    return getParameter(name + "_max");
}

// ---- tool protocol -------------------------------------------------------------

Point Pen::worldPoint(Point bitmapPoint) const {
    VimoCanvas* canvas = _view ? _view->canvas() : nullptr;
    return canvas ? canvas->bitmapPointToWorldPoint(bitmapPoint) : bitmapPoint;
}

float Pen::worldRadius(float pressure) const {
    VimoCanvas* canvas = _view ? _view->canvas() : nullptr;
    const float scale = canvas ? canvas->transform().scaleFactor() : 1;
    return _radius * pressure / scale;
}

void Pen::toolDownEvent(const ToolEvent& event, ToolView& view, Point at) {
    _option_down = event.optionDown();
    if (_option_down) {
        _document.setToolColor(Tool::pickColor(view, at));
        return;
    }
    _pen_down = true;
    _view = &view;
    if (_custom_pen && _pen_type) {
        Lua::setContextView(&view, this);
        PenCallbacks::penDownAt(*_pen_type, worldPoint(at), worldRadius(0), event);
        return;
    }
    VimoCanvas* canvas = view.canvas();
    _pen_points =
        std::make_shared<PenPoints>(canvas ? canvas->transform() : AffineMatrix::zero(), _radius);
    _preview_rect = Rect{};
    _pen_down_pressure = event.pressure;
    _pen_down_point = at;
}

void Pen::toolMoveEvent(const ToolEvent& event, Point to) {
    if (!_pen_down) return;
    const float p = event.pressure;
    if (_custom_pen && _pen_type) {
        Lua::setContextView(_view, this);
        PenCallbacks::penMoveTo(*_pen_type, worldPoint(to), worldRadius(p), event);
        return;
    }
    if (_pen_points->count() == 0)
        previewPoint(to, p);
    else
        previewStrokeFrom(_pen_points->lastPoint(), to, _pen_points->lastPressure(), p);
    _pen_points->addPointAt(to, p);
}

void Pen::toolUpEvent(const ToolEvent& event) {
    (void)event;
    if (!_pen_down) return;
    if (_custom_pen && _pen_type) {
        Lua::setContextView(_view, this);
        PenCallbacks::penUp(*_pen_type);
    } else {
        if (_pen_points->count() == 0) _pen_points->addPointAt(_pen_down_point, _pen_down_pressure);
        if (VimoCanvas* canvas = _view->canvas()) canvas->endPreview(_preview_rect);
        _view->setNeedsDisplayInRect(_preview_rect);
        _pen_points->simplify();
        if (auto stroke = Stroke::initWithPenPoints(_pen_points, _color, _mode, _opacity))
            _document.addStroke(std::move(stroke));
        _pen_points.reset();
    }
    _pen_down = false;
    _view = nullptr;
}

void Pen::toolDrawInView(ToolView& view) {
    if (!_pen_down || !_custom_pen) return;
    Lua::setContextView(&view, this);
    if (QPainter* painter = view.overlayPainter())
        PenCallbacks::penDraw(*painter);
    else
        PenCallbacks::penDraw(CGContextWrapper::currentContext());
}

void Pen::toolFlagsChanged(const ToolEvent& event) {
    _option_down = event.optionDown();
    _document.refreshCursor();
}

ToolCursor Pen::toolCursor() const {
    return _option_down ? _color_picker_cursor : ToolCursor::crosshair();
}

// ---- live preview --------------------------------------------------------------

void Pen::previewPoint(Point p, float pressure) {
    const Point w = worldPoint(p);
    const float r = worldRadius(pressure);
    BezierPath path;
    path.appendBezierPathWithOvalInRect({w.x - r, w.y - r, 2 * r, 2 * r});
    previewBezierPath(path);
}

void Pen::previewStrokeFrom(Point from, Point to, float pressureFrom, float pressureTo) {
    const Point a = worldPoint(from), b = worldPoint(to);
    const float ra = worldRadius(pressureFrom), rb = worldRadius(pressureTo);
    const float length = std::hypot(b.x - a.x, b.y - a.y);
    BezierPath path;
    if (length > 0) {
        const float ux = (b.x - a.x) / length, uy = (b.y - a.y) / length;
        const Point quad[4] = {{a.x + uy * ra, a.y - ux * ra},
                               {b.x + uy * rb, b.y - ux * rb},
                               {b.x - uy * rb, b.y + ux * rb},
                               {a.x - uy * ra, a.y + ux * ra}};
        path.appendBezierPathWithPoints(quad, 4);
        path.closePath();
    }
    path.appendBezierPathWithOvalInRect({b.x - rb, b.y - rb, 2 * rb, 2 * rb});
    previewBezierPath(path);
}

void Pen::previewBezierPath(const BezierPath& path) {
    VimoCanvas* canvas = _view ? _view->canvas() : nullptr;
    if (!canvas) return;
    Bitmap& strokeBitmap = canvas->strokeBitmap();
    CGContextWrapper& context = strokeBitmap.cgContext();
    context.setFillColor(_color);
    context.setStrokeColor(_color);
    const Rect r = Path(path.elements()).fillInContext(context, 0);
    const Rect br = strokeBitmap.worldRectToBitmapRect(r);
    canvas->drawBitmap().copyRect(br, canvas->previewBitmap());
    strokeBitmap.transferRect(br, canvas->previewBitmap(), _mode, _opacity);
    _preview_rect = unionRect(_preview_rect, br);
    _view->setNeedsDisplayInRect(br);
}
