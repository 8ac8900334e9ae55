#include "pens/LuaSandbox.h"

#include "pens/LuaBudget.h"
#include "pens/LuaPatterns.h"

#include <lua.hpp>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

constexpr const char* kFoldersKey = "vimo.folders";
constexpr const char* kScriptFolderKey = "vimo.script_folder";
constexpr char kBinaryChunkMark = '\033';

// Marks a module that is being loaded, to catch require loops.
char loadingSentinel;

std::string canonical(const std::string& path) {
    std::error_code ec;
    const fs::path p = fs::weakly_canonical(fs::absolute(fs::path(path), ec), ec);
    return ec ? std::string() : p.string();
}

// Calls the function in upvalue 1 with all arguments, then hands a timeout
// on: whatever caught it, the script does not get to continue.
int callThenRethrowTimeout(lua_State* L) {
    LuaBudget::checkCStack(L);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, LUA_MULTRET);
    LuaBudget::checkTime(L);
    return lua_gettop(L);
}

// xpcall's message handler: runs the script's handler unless time is up.
int guardedHandler(lua_State* L) {
    if (LuaBudget::of(L)->overBudget()) return 1; // keep the incoming error
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, 1);
    return 1;
}

int xpcallGuarded(lua_State* L) {
    luaL_checkany(L, 2);
    lua_settop(L, 2);
    lua_pushvalue(L, 2);
    lua_pushcclosure(L, guardedHandler, 1);
    lua_replace(L, 2);
    return callThenRethrowTimeout(L);
}

int collectGarbageLimited(lua_State* L) {
    const char* option = luaL_optstring(L, 1, "collect");
    if (std::strcmp(option, "collect") != 0 && std::strcmp(option, "count") != 0 &&
        std::strcmp(option, "step") != 0)
        return luaL_error(L, "collectgarbage option '%s' is not available to pen scripts", option);
    return callThenRethrowTimeout(L);
}

int loadstringText(lua_State* L) {
    std::size_t length = 0;
    const char* s = luaL_checklstring(L, 1, &length);
    const char* chunkname = luaL_optstring(L, 2, s);
    lua_settop(L, 2);
    if (length > 0 && s[0] == kBinaryChunkMark) {
        lua_pushnil(L);
        lua_pushliteral(L, "precompiled chunks are not allowed");
        return 2;
    }
    if (luaL_loadbuffer(L, s, length, chunkname) == 0) return 1;
    lua_pushnil(L);
    lua_insert(L, -2);
    return 2;
}

// load(reader [, chunkname]): the reader runs here, unprotected, so that an
// error or a timeout in it is not turned into a quiet nil.
int loadFromReader(lua_State* L) {
    luaL_checktype(L, 1, LUA_TFUNCTION);
    const char* chunkname = luaL_optstring(L, 2, "=(load)");
    lua_settop(L, 2);
    const std::size_t limit = LuaBudget::of(L)->memoryLimit();
    std::string text;
    for (;;) {
        lua_pushvalue(L, 1);
        lua_call(L, 0, 1);
        if (lua_isnil(L, -1)) break;
        if (!lua_isstring(L, -1)) return luaL_error(L, "reader function must return a string");
        std::size_t length = 0;
        const char* piece = lua_tolstring(L, -1, &length);
        if (length == 0) break;
        if (text.size() + length > limit) return luaL_error(L, "not enough memory");
        text.append(piece, length);
        lua_pop(L, 1);
    }
    lua_settop(L, 2);
    if (!text.empty() && text[0] == kBinaryChunkMark) {
        lua_pushnil(L);
        lua_pushliteral(L, "precompiled chunks are not allowed");
        return 2;
    }
    if (luaL_loadbuffer(L, text.data(), text.size(), chunkname) == 0) return 1;
    lua_pushnil(L);
    lua_insert(L, -2);
    return 2;
}

std::string scriptRelative(lua_State* L, const std::string& name) {
    if (fs::path(name).is_absolute()) return name;
    lua_getfield(L, LUA_REGISTRYINDEX, kScriptFolderKey);
    std::string folder = lua_isstring(L, -1) ? lua_tostring(L, -1) : std::string(".");
    lua_pop(L, 1);
    return (fs::path(folder) / name).string();
}

// Pushes the chunk of a file inside the allowed folders; returns the status.
int loadConfined(lua_State* L, const std::string& name) {
    const std::string path = scriptRelative(L, name);
    if (!LuaSandbox::isAllowedFile(L, path)) {
        lua_pushfstring(L, "cannot open %s (not inside the pen folders)", name.c_str());
        return LUA_ERRFILE;
    }
    return LuaSandbox::loadFile(L, path);
}

int dofileConfined(lua_State* L) {
    const std::string name = luaL_checkstring(L, 1);
    lua_settop(L, 0);
    if (loadConfined(L, name) != 0) return lua_error(L);
    lua_call(L, 0, LUA_MULTRET);
    return lua_gettop(L);
}

int loadfileConfined(lua_State* L) {
    const std::string name = luaL_checkstring(L, 1);
    lua_settop(L, 0);
    if (loadConfined(L, name) == 0) return 1;
    lua_pushnil(L);
    lua_insert(L, -2);
    return 2;
}

int requireModule(lua_State* L) {
    const std::string name = luaL_checkstring(L, 1);
    lua_settop(L, 1);
    lua_getfield(L, LUA_REGISTRYINDEX, "_LOADED"); // 2
    lua_getfield(L, 2, name.c_str());
    if (lua_touserdata(L, -1) == &loadingSentinel)
        return luaL_error(L, "loop or previous error loading module '%s'", name.c_str());
    if (lua_toboolean(L, -1)) return 1;
    lua_pop(L, 1);

    lua_getglobal(L, "LUA_PATH");
    if (!lua_isstring(L, -1)) return luaL_error(L, "global 'LUA_PATH' must be a string");
    const std::string templates = lua_tostring(L, -1);
    lua_pop(L, 1);

    std::string tried;
    std::size_t start = 0;
    while (start <= templates.size()) {
        std::size_t end = templates.find(';', start);
        if (end == std::string::npos) end = templates.size();
        std::string file = templates.substr(start, end - start);
        start = end + 1;
        if (file.empty()) continue;
        for (std::size_t q = file.find('?'); q != std::string::npos;
             q = file.find('?', q + name.size()))
            file.replace(q, 1, name);
        std::error_code ec;
        if (!fs::is_regular_file(file, ec)) {
            tried += "\n\tno file '" + file + "'";
            continue;
        }
        if (!LuaSandbox::isAllowedFile(L, file)) {
            tried += "\n\tnot inside the pen folders '" + file + "'";
            continue;
        }
        if (LuaSandbox::loadFile(L, file) != 0)
            return luaL_error(L, "error loading module '%s' from file '%s':\n\t%s", name.c_str(),
                              file.c_str(), lua_tostring(L, -1));
        lua_pushlightuserdata(L, &loadingSentinel);
        lua_setfield(L, 2, name.c_str());
        lua_getglobal(L, "_REQUIREDNAME");
        const int previousName = lua_gettop(L);
        lua_pushstring(L, name.c_str());
        lua_setglobal(L, "_REQUIREDNAME");
        lua_pushvalue(L, previousName - 1); // the chunk
        lua_pushstring(L, name.c_str());
        lua_call(L, 1, 1);
        lua_pushvalue(L, previousName);
        lua_setglobal(L, "_REQUIREDNAME");
        if (!lua_isnil(L, -1)) lua_setfield(L, 2, name.c_str());
        lua_getfield(L, 2, name.c_str());
        if (lua_touserdata(L, -1) == &loadingSentinel) { // the module returned nothing
            lua_pushboolean(L, 1);
            lua_pushvalue(L, -1);
            lua_setfield(L, 2, name.c_str());
        }
        return 1;
    }
    return luaL_error(L, "module '%s' not found in LUA_PATH:%s", name.c_str(), tried.c_str());
}

int stringRep(lua_State* L) {
    std::size_t length = 0;
    const char* s = luaL_checklstring(L, 1, &length);
    const lua_Integer n = luaL_checkinteger(L, 2);
    if (n <= 0 || length == 0) {
        lua_pushliteral(L, "");
        return 1;
    }
    const std::size_t count = std::size_t(n);
    if (count > LuaBudget::of(L)->memoryLimit() / length)
        return luaL_error(L, "resulting string too large");
    std::string result;
    result.reserve(length * count);
    result.append(s, length);
    while (result.size() < length * count)
        result.append(result, 0, std::min(result.size(), length * count - result.size()));
    lua_pushlstring(L, result.data(), result.size());
    return 1;
}

int tableGetn(lua_State* L) {
    luaL_checktype(L, 1, LUA_TTABLE);
    lua_pushinteger(L, lua_Integer(lua_objlen(L, 1)));
    return 1;
}

void openLibrary(lua_State* L, lua_CFunction opener, const char* name) {
    lua_pushcfunction(L, opener);
    lua_pushstring(L, name);
    lua_call(L, 1, 0);
}

void wrapField(lua_State* L, int table, const char* name, lua_CFunction wrapper) {
    lua_getfield(L, table, name);
    lua_pushcclosure(L, wrapper, 1);
    lua_setfield(L, table, name);
}

void setFunction(lua_State* L, int table, const char* name, lua_CFunction f) {
    lua_pushcfunction(L, f);
    lua_setfield(L, table, name);
}

void removeField(lua_State* L, int table, const char* name) {
    lua_pushnil(L);
    lua_setfield(L, table, name);
}

} // namespace

void LuaSandbox::open(lua_State* L, const std::vector<std::string>& allowedFolders) {
    openLibrary(L, luaopen_base, "");
    openLibrary(L, luaopen_table, LUA_TABLIBNAME);
    openLibrary(L, luaopen_string, LUA_STRLIBNAME);
    openLibrary(L, luaopen_math, LUA_MATHLIBNAME);

    lua_newtable(L);
    int i = 1;
    for (const std::string& folder : allowedFolders) {
        const std::string c = canonical(folder);
        if (c.empty()) continue;
        lua_pushstring(L, c.c_str());
        lua_rawseti(L, -2, i++);
    }
    lua_setfield(L, LUA_REGISTRYINDEX, kFoldersKey);

    // Base library.
    lua_pushvalue(L, LUA_GLOBALSINDEX);
    const int g = lua_gettop(L);
    wrapField(L, g, "pcall", callThenRethrowTimeout);
    wrapField(L, g, "xpcall", xpcallGuarded);
    wrapField(L, g, "collectgarbage", collectGarbageLimited);
    setFunction(L, g, "loadstring", loadstringText);
    setFunction(L, g, "load", loadFromReader);
    setFunction(L, g, "dofile", dofileConfined);
    setFunction(L, g, "loadfile", loadfileConfined);
    setFunction(L, g, "require", requireModule);
    removeField(L, g, "newproxy");
    lua_newtable(L);
    lua_pushvalue(L, -1);
    lua_setfield(L, LUA_REGISTRYINDEX, "_LOADED");
    lua_setfield(L, g, "_LOADED");

    lua_getfield(L, g, "coroutine");
    wrapField(L, lua_gettop(L), "resume", callThenRethrowTimeout);
    lua_pop(L, 1);

    lua_getfield(L, g, LUA_STRLIBNAME);
    const int str = lua_gettop(L);
    LuaPatterns::install(L);
    setFunction(L, str, "rep", stringRep);
    removeField(L, str, "dump");
    lua_pop(L, 1);

    lua_getfield(L, g, LUA_MATHLIBNAME);
    lua_getfield(L, -1, "mod");
    if (lua_isnil(L, -1)) {
        lua_getfield(L, -2, "fmod");
        lua_setfield(L, -3, "mod");
    }
    lua_pop(L, 2);

    lua_getfield(L, g, LUA_TABLIBNAME);
    lua_getfield(L, -1, "getn");
    if (lua_isnil(L, -1)) setFunction(L, lua_gettop(L) - 1, "getn", tableGetn);
    lua_pop(L, 2);

    lua_pop(L, 1); // globals
}

void LuaSandbox::setScriptFolder(lua_State* L, const std::string& folder) {
    lua_pushstring(L, folder.c_str());
    lua_setfield(L, LUA_REGISTRYINDEX, kScriptFolderKey);
}

bool LuaSandbox::isAllowedFile(lua_State* L, const std::string& path) {
    const std::string file = canonical(path);
    if (file.empty()) return false;
    bool allowed = false;
    lua_getfield(L, LUA_REGISTRYINDEX, kFoldersKey);
    if (lua_istable(L, -1)) {
        for (int i = 1;; i++) {
            lua_rawgeti(L, -1, i);
            if (!lua_isstring(L, -1)) {
                lua_pop(L, 1);
                break;
            }
            const std::string folder = std::string(lua_tostring(L, -1)) + "/";
            lua_pop(L, 1);
            if (file.compare(0, folder.size(), folder) == 0) {
                allowed = true;
                break;
            }
        }
    }
    lua_pop(L, 1);
    return allowed;
}

int LuaSandbox::loadFile(lua_State* L, const std::string& path) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) {
        lua_pushfstring(L, "cannot open %s", path.c_str());
        return LUA_ERRFILE;
    }
    const auto size = fs::file_size(path, ec);
    if (ec || size > LuaBudget::of(L)->memoryLimit()) {
        lua_pushfstring(L, "cannot read %s", path.c_str());
        return LUA_ERRFILE;
    }
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
        lua_pushfstring(L, "cannot read %s", path.c_str());
        return LUA_ERRFILE;
    }
    if (!text.empty() && text[0] == '#') // a first line such as "#!..." is skipped
        text.erase(0, std::min(text.find('\n'), text.size()));
    if (!text.empty() && text[0] == kBinaryChunkMark) {
        lua_pushfstring(L, "cannot load %s: precompiled chunks are not allowed", path.c_str());
        return LUA_ERRSYNTAX;
    }
    const std::string chunkname = "@" + path;
    return luaL_loadbuffer(L, text.data(), text.size(), chunkname.c_str());
}
