#include "pens/LuaBudget.h"

#include <lua.hpp>

#include <cstdlib>

namespace {
std::uintptr_t stackPosition() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}
} // namespace

lua_State* LuaBudget::newState() {
    return lua_newstate(&LuaBudget::allocate, this);
}

LuaBudget* LuaBudget::of(lua_State* L) {
    void* ud = nullptr;
    lua_getallocf(L, &ud);
    return static_cast<LuaBudget*>(ud);
}

void* LuaBudget::allocate(void* ud, void* ptr, std::size_t osize, std::size_t nsize) {
    auto* budget = static_cast<LuaBudget*>(ud);
    if (nsize == 0) {
        std::free(ptr);
        budget->_memory_in_use -= osize;
        return nullptr;
    }
    // Shrinking must never fail; growing fails past the limit.
    if (nsize > osize && budget->_memory_in_use - osize + nsize > budget->_memory_limit)
        return nullptr;
    void* block = std::realloc(ptr, nsize);
    if (!block) return nullptr;
    budget->_memory_in_use = budget->_memory_in_use - osize + nsize;
    return block;
}

void LuaBudget::begin(lua_State* L) {
    if (_depth++ > 0) return;
    _timed_out = false;
    _deadline = std::chrono::steady_clock::now() + _time_limit;
    _stack_base = stackPosition();
    lua_sethook(L, &LuaBudget::hook, LUA_MASKCOUNT, kHookInterval);
}

void LuaBudget::end() {
    if (_depth > 0) --_depth;
}

bool LuaBudget::overBudget() {
    if (_timed_out) return true;
    if (_depth > 0 && std::chrono::steady_clock::now() >= _deadline) _timed_out = true;
    return _timed_out;
}

void LuaBudget::raiseTimeout(lua_State* L) {
    // From now on the hook fires on every instruction of this thread, so no
    // handler gets to run more than one instruction before failing again.
    lua_sethook(L, &LuaBudget::hook, LUA_MASKCOUNT, 1);
    luaL_error(L, "%s", kTimeoutMessage);
    std::abort(); // luaL_error does not return
}

void LuaBudget::checkTime(lua_State* L) {
    if (of(L)->overBudget()) raiseTimeout(L);
}

void LuaBudget::checkCStack(lua_State* L) {
    const LuaBudget* budget = of(L);
    if (budget->_depth == 0) return;
    const std::uintptr_t here = stackPosition();
    if (here < budget->_stack_base && budget->_stack_base - here > kCStackLimit)
        luaL_error(L, "C stack overflow");
}

void LuaBudget::hook(lua_State* L, lua_Debug* ar) {
    (void)ar;
    checkTime(L);
    checkCStack(L);
}
