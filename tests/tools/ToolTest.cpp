#include "tools/Tool.h"
#include "tools/ToolDocument.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct RecordingTool : Tool {
    std::vector<std::string>* log;
    std::string name;
    RecordingTool(std::vector<std::string>* l, std::string n) : log(l), name(std::move(n)) {}
    void toolActivate() override { log->push_back("activate " + name); }
    void toolDeactivate() override { log->push_back("deactivate " + name); }
};

struct FakeDocument : ToolDocument {
    Tool* current = nullptr;
    int setToolCalls = 0;
    Tool* tool() const override { return current; }
    void setTool(Tool* t) override {
        ++setToolCalls;
        Tool::switchTool(current, t, nullptr, nullptr);
    }
    void setToolColor(const Color&) override {}
    void addStroke(std::shared_ptr<Stroke>) override {}
    Strokes& strokes() override { std::abort(); }
    void transformStrokesInArray(const std::vector<std::shared_ptr<Stroke>>&,
                                 const AffineTransform&) override {}
    ToolView* view() override { return nullptr; }
    void refreshCursor() override {}
};

} // namespace

TEST(ToolTest, TransferModeNamesIgnoreCaseAndFallBackToNormal) {
    EXPECT_EQ(Tool::transferModeStringToInt("ERASE"), 1);
    EXPECT_EQ(Tool::transferModeStringToInt("highlight"), 0);
    EXPECT_EQ(Tool::transferModeIntToString(-1), "normal");
    for (int m = 0; m < 8; ++m)
        EXPECT_EQ(Tool::transferModeStringToInt(Tool::transferModeIntToString(m)), m);
}

TEST(ToolTest, SwitchingOrderAndTemporaryTools) {
    std::vector<std::string> log;
    RecordingTool pen(&log, "pen"), zoom(&log, "zoom");
    FakeDocument doc;
    doc.setTool(&pen);
    doc.setTool(&pen); // again: no deactivate/activate
    EXPECT_EQ(log, (std::vector<std::string>{"activate pen"}));

    // A temporary tool switches back at the end of its gesture, once.
    zoom.restoreToolAfter(doc.tool());
    doc.setTool(&zoom);
    zoom.after(doc);
    EXPECT_EQ(doc.tool(), &pen);
    EXPECT_EQ(zoom.restoreAfter(), nullptr);
    const int calls = doc.setToolCalls;
    zoom.after(doc); // nothing remembered: no switch at all
    EXPECT_EQ(doc.setToolCalls, calls);

    // Leaving a temporary tool by other means keeps the earlier tool for the
    // end of its next gesture.
    zoom.restoreToolAfter(&pen);
    doc.setTool(&zoom);
    doc.setTool(&pen);
    EXPECT_EQ(zoom.restoreAfter(), &pen);
}
