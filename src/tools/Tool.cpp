#include "tools/Tool.h"

#include "model/VimoCanvas.h"
#include "tools/ResourcePaths.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <array>
#include <cctype>

namespace {
constexpr std::array<const char*, 8> kModeNames = {"normal",   "erase",  "darker",  "lighter",
                                                   "colorize", "shadow", "hilight", "multiply"};
}

void Tool::after(ToolDocument& document) {
    if (!_restore_after) return;
    Tool* earlier = _restore_after;
    document.setTool(earlier);
    _restore_after = nullptr;
}

int Tool::transferModeStringToInt(std::string_view name) {
    std::string lower(name);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (std::size_t i = 1; i < kModeNames.size(); ++i)
        if (lower == kModeNames[i]) return static_cast<int>(i);
    return 0;
}

std::string Tool::transferModeIntToString(int mode) {
    if (mode < 1 || mode > 7) return kModeNames[0];
    return kModeNames[static_cast<std::size_t>(mode)];
}

ToolCursor Tool::loadCursor(const std::string& name, Point hotSpot) {
    ToolCursor cursor;
    cursor.shape = ToolCursor::Shape::Image;
    cursor.name = name;
    cursor.hotSpot = hotSpot;
    cursor.image = QImage(QString::fromStdString(ResourcePaths::imagePath(name + ".png")));
    return cursor;
}

Color Tool::pickColor(ToolView& view, Point at) {
    const VimoCanvas* canvas = view.canvas();
    const std::uint32_t word = canvas ? canvas->colorAt(at) : 0;
    const unsigned alpha = word >> 24;
    if (alpha == 0) return view.windowBackgroundColor();
    const float a = float(alpha) / 255;
    auto channel = [&](int shift) { return float((word >> shift) & 255) / 255 / a; };
    return Color::device(channel(0), channel(8), channel(16), 1);
}

void Tool::switchTool(Tool*& current, Tool* next, const std::function<void()>& refreshDisplay,
                      ToolView* view) {
    if (next == current) return;
    if (current) current->toolDeactivate();
    current = next;
    if (refreshDisplay) refreshDisplay();
    if (next) next->toolActivate();
    if (view) view->setNeedsDisplay();
}
