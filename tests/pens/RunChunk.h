#pragma once

#include "pens/Lua.h"

#include <lua.hpp>

#include <gtest/gtest.h>

#include <string>

// Runs a chunk of source text on the host's state through pcallWithArgs; a
// chunk that does not compile fails the test.
inline int runChunk(Lua& lua, const std::string& code) {
    lua_State* L = lua.state();
    if (luaL_loadbuffer(L, code.data(), code.size(), "=chunk") != 0) {
        ADD_FAILURE() << lua_tostring(L, -1);
        lua_pop(L, 1);
        return -1;
    }
    return lua.pcallWithArgs(0, 0);
}
