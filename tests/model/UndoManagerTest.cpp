#include "model/UndoManager.h"

#include "StrokesTestSupport.h"
#include "model/AffineTransform.h"
#include "model/MenuState.h"
#include "model/Strokes.h"

#include <QUndoStack>

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

// A value that registers its own inverse, as model edits do.
struct Counter {
    UndoManager& undo;
    std::vector<int> log;
    int value = 0;
    void add(int d) {
        value += d;
        log.push_back(d);
        undo.registerUndo([this, d] { add(-d); });
        undo.setFirstActionName(d > 0 ? "Up" : "Down");
    }
};

TEST(UndoManager, StepsGroupUndoNewestFirstAndRedoWhatUndoRegistered) {
    UndoManager undo;
    Counter c{undo, {}, 0};
    undo.undoStack().setClean();
    undo.beginUndoGrouping();
    c.add(5);
    undo.beginUndoGrouping(); // nested groups join the outer one
    c.add(-2);
    undo.endUndoGrouping();
    undo.endUndoGrouping();
    EXPECT_EQ(undo.undoStack().count(), 1);
    EXPECT_EQ(undo.undoActionName(), "Down") << "the name set last wins";

    undo.undo();
    EXPECT_EQ(c.log, (std::vector<int>{5, -2, 2, -5})) << "newest first";
    EXPECT_TRUE(undo.undoStack().isClean());
    EXPECT_EQ(undo.redoActionName(), "Down") << "names set while undoing are ignored";
    undo.redo();
    EXPECT_EQ(c.value, 3);
    EXPECT_FALSE(undo.undoStack().isClean());

    // Outside any group a registration opens one, closed by the caller at
    // the end of the event or by undo().
    c.add(1);
    c.add(1);
    undo.endEventGroup();
    EXPECT_EQ(undo.undoStack().count(), 2);
    c.add(4);
    undo.undo();
    EXPECT_EQ(c.value, 5);

    // Steps that register nothing, or whose undo registers nothing, vanish.
    undo.removeAllActions();
    undo.beginUndoGrouping();
    undo.setActionName("Nothing");
    undo.endUndoGrouping();
    undo.registerUndo([] {});
    undo.undo();
    EXPECT_FALSE(undo.canUndo() || undo.canRedo());
}

// Random user actions on a stroke list: undoing step by step passes back
// through every earlier state to the start; redoing goes forward to the end.
// Each step carries the name of its edit, and the menus always know whether
// the list can be drawn as vectors.
struct ListState {
    std::vector<Stroke*> order;
    std::vector<Rect> bounds;
    friend bool operator==(const ListState&, const ListState&) = default;
};

ListState stateOf(const Strokes& list) {
    ListState s;
    for (const auto& stroke : list.strokeArray()) {
        s.order.push_back(stroke.get());
        s.bounds.push_back(stroke->bezierPath()->bounds());
    }
    return s;
}

struct RecordingMenuState : MenuState {
    RecordingMenuState() { MenuState::setShared(this); }
    ~RecordingMenuState() override { MenuState::setShared(nullptr); }
    void setCanVectorDraw(bool flag) override { canVectorDraw = flag; }
    bool canVectorDraw = true;
};

TEST(UndoManager, RandomEditsOnAStrokeListUndoAndRedoExactly) {
    RecordingMenuState menu;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 rng(seed);
        auto pick = [&](int n) { return int(rng() % unsigned(n)); };
        UndoManager undo;
        Strokes list;
        list.setUndoManager(&undo);
        for (int i = 0; i < 6; ++i) list.addStroke(rectStroke({float(i), 0, 4, 4}));
        undo.removeAllActions();
        auto selection = [&] {
            Strokes::StrokeArray chosen;
            for (const auto& s : list.strokeArray())
                if (rng() % 3 == 0) chosen.push_back(s);
            if (rng() % 4 == 0) chosen.push_back(rectStroke({0, 0, 1, 1})); // not in the list
            return chosen;
        };
        auto transform = [&] {
            AffineTransform t;
            t.translateXBy(float(pick(9)) - 4, float(pick(9)) - 4);
            t.scaleBy(rng() % 2 ? 2.0f : 0.5f);
            list.transformStrokesInArray(selection(), t);
        };
        // Multiply strokes cannot be drawn as vectors.
        auto add = [&] { list.addStroke(rectStroke({1, 2, 3, 4}, Color::red(), pick(3) ? 0 : 7)); };
        const std::pair<const char*, std::function<void()>> actions[] = {
            {"Stroke", add},
            {"Delete Stroke", [&] { list.removeLastStroke(); }},
            {"Add Stroke",
             [&] {
                 list.insertStroke(rectStroke({1, 2, 3, 4}), pick(list.count() + 1));
             }},
            {"Delete Stroke",
             [&] {
                 if (list.count() > 0) list.removeStrokeAtIndex(pick(list.count()));
             }},
            {"Delete Strokes", [&] { list.removeStrokesInArray(selection()); }},
            {"Clear",
             [&] {
                 if (rng() % 4 == 0) list.clear();
             }},
            {"Move", transform},
            {"Merge", [&] { list.mergeStrokesInArray(selection()); }},
            {"Duplicate", [&] { list.duplicateStrokesInArray(selection()); }},
            {"Delete Stroke", [&] { list.bringForward(selection()); }},
            {"Delete Stroke", [&] { list.sendBackward(selection()); }},
            {"Delete Stroke",
             [&] { rng() % 2 ? list.bringToFront(selection()) : list.sendToBack(selection()); }},
        };
        std::vector<ListState> states{stateOf(list)};
        for (int action = 0; action < 40; ++action) {
            const auto& [name, edit] = actions[pick(12)];
            const QString before = undo.undoActionName();
            edit();
            undo.endEventGroup();
            if (undo.undoStack().index() == int(states.size())) {
                states.push_back(stateOf(list));
                EXPECT_EQ(undo.undoActionName(), name);
            } else {
                EXPECT_EQ(stateOf(list), states.back())
                    << "an edit that registered nothing changed";
                EXPECT_EQ(undo.undoActionName(), before) << "or renamed the step before";
            }
            EXPECT_EQ(menu.canVectorDraw, list.canVectorDraw());
        }
        for (auto it = states.rbegin() + 1; it != states.rend(); ++it) {
            undo.undo();
            EXPECT_EQ(stateOf(list), *it) << "seed " << seed;
            EXPECT_EQ(menu.canVectorDraw, list.canVectorDraw());
        }
        for (auto it = states.begin() + 1; it != states.end(); ++it) {
            undo.redo();
            EXPECT_EQ(stateOf(list), *it) << "seed " << seed;
        }
        EXPECT_FALSE(undo.canRedo());
    }
}

} // namespace
