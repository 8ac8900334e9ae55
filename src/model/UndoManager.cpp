#include "model/UndoManager.h"

#include "raster/Assert.h"

#include <QUndoCommand>
#include <QUndoStack>

#include <utility>

// One undo step on the stack: the closures that undo it and, once it has
// been undone, the closures that redo it.
class UndoManager::Step : public QUndoCommand {
public:
    explicit Step(UndoManager& manager) : _manager(manager) {}

    void undo() override { _manager.runUndo(*this); }
    void redo() override {
        // QUndoStack::push() redoes the command at once; the change was made
        // already, by the edit that registered the step.
        if (_pushed) {
            _pushed = false;
            return;
        }
        _manager.runRedo(*this);
    }

    std::vector<std::function<void()>> undoActions;
    std::vector<std::function<void()>> redoActions;
    bool _pushed = true; // the next redo() is the one push() makes

private:
    UndoManager& _manager;
};

namespace {
// Sets a flag for the lifetime of the guard, also when a closure throws.
class FlagGuard {
public:
    FlagGuard(bool& flag, std::vector<std::function<void()>>*& collect,
              std::vector<std::function<void()>>& into)
        : _flag(flag), _collect(collect) {
        _flag = true;
        _collect = &into;
    }
    ~FlagGuard() {
        _flag = false;
        _collect = nullptr;
    }
    FlagGuard(const FlagGuard&) = delete;
    FlagGuard& operator=(const FlagGuard&) = delete;

private:
    bool& _flag;
    std::vector<std::function<void()>>*& _collect;
};

void runNewestFirst(std::vector<std::function<void()>>& actions) {
    for (auto it = actions.rbegin(); it != actions.rend(); ++it) (*it)();
}
} // namespace

UndoManager::UndoManager() : _stack(std::make_unique<QUndoStack>()) {}

UndoManager::~UndoManager() = default;

void UndoManager::beginUndoGrouping() {
    if (_undoing || _redoing) return;
    if (_level++ == 0) _open = std::make_unique<Step>(*this);
}

void UndoManager::endUndoGrouping() {
    if (_undoing || _redoing) return;
    VIMO_ASSERT(_level > 0);
    if (--_level > 0) return;
    _automatic = false;
    std::unique_ptr<Step> step = std::move(_open);
    if (!step->undoActions.empty()) _stack->push(step.release());
}

void UndoManager::endEventGroup() {
    closeAutomaticGroup();
}

void UndoManager::closeAutomaticGroup() {
    if (_automatic && _level == 1) endUndoGrouping();
}

void UndoManager::registerUndo(std::function<void()> action) {
    if (_collect) {
        _collect->push_back(std::move(action));
        return;
    }
    if (_level == 0) {
        beginUndoGrouping();
        _automatic = true;
    }
    _open->undoActions.push_back(std::move(action));
}

void UndoManager::setActionName(const QString& name) {
    // Only the step being collected takes a name: an edit that changed
    // nothing must not rename the step before it.
    if (_undoing || _redoing || !_open) return;
    _open->setText(name);
}

void UndoManager::setFirstActionName(const QString& name) {
    setActionName(name);
}

bool UndoManager::canUndo() const {
    return (_open && !_open->undoActions.empty()) || _stack->canUndo();
}

bool UndoManager::canRedo() const {
    return !(_open && !_open->undoActions.empty()) && _stack->canRedo();
}

QString UndoManager::undoActionName() const {
    if (_open && !_open->undoActions.empty()) return _open->text();
    return _stack->undoText();
}

QString UndoManager::redoActionName() const {
    return canRedo() ? _stack->redoText() : QString();
}

void UndoManager::undo() {
    closeAutomaticGroup();
    VIMO_ASSERT(_level == 0);
    VIMO_ASSERT(!_undoing && !_redoing);
    _stack->undo();
}

void UndoManager::redo() {
    closeAutomaticGroup();
    VIMO_ASSERT(_level == 0);
    VIMO_ASSERT(!_undoing && !_redoing);
    _stack->redo();
}

void UndoManager::removeAllActions() {
    _open.reset();
    _level = 0;
    _automatic = false;
    _stack->clear();
}

void UndoManager::runUndo(Step& step) {
    std::vector<std::function<void()>> actions = std::move(step.undoActions);
    step.undoActions.clear();
    step.redoActions.clear();
    {
        FlagGuard guard(_undoing, _collect, step.redoActions);
        runNewestFirst(actions);
    }
    // Nothing to redo: the stack drops the step instead of offering it.
    if (step.redoActions.empty()) step.setObsolete(true);
}

void UndoManager::runRedo(Step& step) {
    std::vector<std::function<void()>> actions = std::move(step.redoActions);
    step.redoActions.clear();
    step.undoActions.clear();
    {
        FlagGuard guard(_redoing, _collect, step.undoActions);
        runNewestFirst(actions);
    }
    if (step.undoActions.empty()) step.setObsolete(true);
}
