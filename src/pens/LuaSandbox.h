#pragma once

#include <string>
#include <vector>

struct lua_State;

// The libraries a pen script gets, and how they are confined. A state opened
// here has the base, table, string and math libraries and nothing else: no
// io, os, debug or package library, no C modules. On top of Lua's own:
//  - require reads the global "LUA_PATH" (templates separated by ";", each
//    "?" replaced by the module name) at every call and loads only files that
//    lie inside the allowed folders; loaded modules are kept in "_LOADED" and
//    the module's name is in "_REQUIREDNAME" while it runs;
//  - dofile and loadfile read only files inside the allowed folders (relative
//    names count from the folder of the script the state runs);
//  - load and loadstring take source text only (no precompiled chunks);
//  - pcall, xpcall and coroutine.resume hand a timeout straight on instead of
//    catching it, and xpcall's handler does not run after a timeout;
//  - string patterns run on a bounded matcher (LuaPatterns), string.rep
//    refuses results larger than the memory limit, string.dump, newproxy
//    and the collector's tuning options are gone;
//  - the old names string.gfind, math.mod and table.getn are present.
class LuaSandbox {
public:
    // Opens the libraries in L. Runs Lua code, so call it in protected mode.
    static void open(lua_State* L, const std::vector<std::string>& allowedFolders);
    // The folder relative dofile/loadfile names are taken from.
    static void setScriptFolder(lua_State* L, const std::string& folder);

    // Loads a source file as a chunk named "@" + path and pushes it; on
    // failure pushes the message and returns the error status, as lua_load.
    static int loadFile(lua_State* L, const std::string& path);
    // Whether the file lies inside one of the allowed folders.
    static bool isAllowedFile(lua_State* L, const std::string& path);
};
