#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QUndoStack;

// Undo and redo of document edits, built on a QUndoStack so that the
// application gets the standard undo actions and the clean/modified state.
//
// Edits register closures that reverse them. Everything registered while one
// user action is handled forms one undo step, named by the last action name
// set. A step is collected between beginUndoGrouping() and the matching
// endUndoGrouping(); a registration made outside any group opens an
// automatic group, which endEventGroup() closes (the application calls it
// after handling each event) as do undo() and redo().
//
// Undoing a step runs its closures newest first; whatever the closures
// register meanwhile becomes the step's redo, and redoing in turn collects
// the closures that undo it again, as a classic undo manager does. Action
// names set while undoing or redoing are ignored, so a step keeps its name.
class UndoManager {
public:
    UndoManager();
    ~UndoManager();
    UndoManager(const UndoManager&) = delete;
    UndoManager& operator=(const UndoManager&) = delete;

    QUndoStack& undoStack() { return *_stack; }
    const QUndoStack& undoStack() const { return *_stack; }

    // Explicit grouping; groups nest and only the outermost one makes a step.
    void beginUndoGrouping();
    void endUndoGrouping();
    int groupingLevel() const { return _level; }
    // Closes the automatic group, if one is open.
    void endEventGroup();

    // Registers a closure that reverses a change just made.
    void registerUndo(std::function<void()> action);

    // Names the step being collected. Ignored with no group open, and while
    // undoing or redoing.
    void setActionName(const QString& name);
    // The same rule under the name the stroke list uses: within one step the
    // name set last wins, and nothing changes while undoing or redoing.
    void setFirstActionName(const QString& name);

    bool isUndoing() const { return _undoing; }
    bool isRedoing() const { return _redoing; }
    bool canUndo() const;
    bool canRedo() const;
    QString undoActionName() const;
    QString redoActionName() const;
    void undo();
    void redo();
    // Forgets every step (and an open group's registrations).
    void removeAllActions();

private:
    class Step;
    friend class Step;

    void closeAutomaticGroup();
    void runUndo(Step& step);
    void runRedo(Step& step);

    std::unique_ptr<QUndoStack> _stack;
    std::unique_ptr<Step> _open;
    int _level = 0;
    bool _automatic = false;
    bool _undoing = false;
    bool _redoing = false;
    // Where registrations go while a step is being undone or redone.
    std::vector<std::function<void()>>* _collect = nullptr;
};
