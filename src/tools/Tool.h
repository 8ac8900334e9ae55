#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"
#include "tools/ToolCursor.h"
#include "tools/ToolEvent.h"

#include <functional>
#include <string>
#include <string_view>

class ToolDocument;
class ToolView;

// The base of every tool acting on a document's view: the pen, the fill
// tool, the arrow and the view tools. The view hands pointer, modifier and
// drawing calls to the document's current tool through this protocol; every
// operation does nothing here.
//
// Temporary tools: a command that wants a tool for one gesture sends it
// restoreToolAfter(current) and makes it current; at the end of its gesture
// the tool calls after(document), which switches back and forgets the
// earlier tool. Leaving the tool by other means keeps the earlier tool
// remembered until the end of the tool's next gesture.
class Tool {
public:
    virtual ~Tool() = default;

    // Feedback drawn over the composited canvas; the painter's coordinates
    // are the view's (y down).
    virtual void toolDrawInView(ToolView& view) { (void)view; }
    virtual void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) {
        (void)event, (void)view, (void)at;
    }
    virtual void toolMoveEvent(const ToolEvent& event, Point to) { (void)event, (void)to; }
    virtual void toolUpEvent(const ToolEvent& event) { (void)event; }
    // Part of the protocol, never sent.
    virtual void toolKeyDownEvent(const ToolEvent& event) { (void)event; }
    virtual void toolFlagsChanged(const ToolEvent& event) { (void)event; }
    virtual void toolActivate() {}
    virtual void toolDeactivate() {}
    virtual ToolCursor toolCursor() const { return ToolCursor::crosshair(); }

    void restoreToolAfter(Tool* tool) { _restore_after = tool; }
    Tool* restoreAfter() const { return _restore_after; }
    void after(ToolDocument& document);

    // Transfer-mode names: 0 "normal", 1 "erase", 2 "darker", 3 "lighter",
    // 4 "colorize", 5 "shadow", 6 "hilight", 7 "multiply". Unknown names
    // (compared lower-cased) give 0; unknown numbers give "normal".
    static int transferModeStringToInt(std::string_view name);
    static std::string transferModeIntToString(int mode);

    // An image cursor from the resource folder "Images" (name + ".png"). A
    // missing image is not detected: the cursor then has an empty image.
    static ToolCursor loadCursor(const std::string& name, Point hotSpot);

    // The colour under a point of the view's canvas, for option-click colour
    // picking: un-premultiplied and opaque; the window's background colour
    // where the canvas is transparent.
    static Color pickColor(ToolView& view, Point at);

    // The order of a tool switch: nothing when next is already current;
    // otherwise deactivate the old tool, make next current, refresh the tool
    // display, activate next, and mark the view for display.
    static void switchTool(Tool*& current, Tool* next, const std::function<void()>& refreshDisplay,
                           ToolView* view);

private:
    Tool* _restore_after = nullptr; // not owned: the document owns every tool
};
