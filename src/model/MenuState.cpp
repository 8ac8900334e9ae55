#include "model/MenuState.h"

namespace {
MenuState g_default_state;
MenuState* g_shared_state = &g_default_state;
} // namespace

MenuState& MenuState::shared() {
    return *g_shared_state;
}

void MenuState::setShared(MenuState* state) {
    g_shared_state = state ? state : &g_default_state;
}
