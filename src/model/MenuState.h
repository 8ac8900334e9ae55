#pragma once

// The menu state the drawing model keeps up to date: whether the drawing can
// currently be printed as vector graphics. The application installs its own
// implementation with setShared(); until then a do-nothing instance serves.
class MenuState {
public:
    virtual ~MenuState() = default;

    virtual void setCanVectorDraw(bool flag) { (void)flag; }

    // The process-wide instance (never null).
    static MenuState& shared();
    // Installs state as the process-wide instance; null restores the
    // do-nothing one. The caller keeps ownership.
    static void setShared(MenuState* state);
};
