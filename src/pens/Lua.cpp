#include "pens/Lua.h"

#include "pens/Localization.h"
#include "pens/LuaSandbox.h"
#include "pens/ScriptAlerts.h"
#include "tools/ResourcePaths.h"

#include <lua.hpp>

#include <QDebug>

#include <cstdio>
#include <filesystem>

namespace {

constexpr const char* kHandlerKey = "vimo.error_handler";

ScriptAlerts* gDefaultAlerts = nullptr;
void (*gLibraryExtension)(lua_State*) = nullptr;

ScriptAlerts& logAlerts() {
    static LoggingScriptAlerts alerts;
    return alerts;
}

bool isRuntimeFailure(int status) {
    return status == LUA_ERRRUN || status == LUA_ERRMEM || status == LUA_ERRERR;
}

// The value at index as text without allocating in Lua (numbers are
// formatted here), or nothing for other types.
std::optional<std::string> valueAsString(lua_State* L, int index) {
    if (lua_type(L, index) == LUA_TSTRING) {
        std::size_t length = 0;
        const char* s = lua_tolstring(L, index, &length);
        return std::string(s, length);
    }
    if (lua_type(L, index) == LUA_TNUMBER) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, LUA_NUMBER_FMT, lua_tonumber(L, index));
        return std::string(buffer);
    }
    return std::nullopt;
}

void pushGlobal(lua_State* L, const std::string& name) {
    lua_pushlstring(L, name.data(), name.size());
    lua_rawget(L, LUA_GLOBALSINDEX);
}

int runJob(lua_State* L);

// Logs the error message, then one line per level of the stack: the chunk's
// source, the current line and the function's name.
int errorHandler(lua_State* L) {
    Lua* host = Lua::fromState(L);
    ScriptAlerts& alerts = host ? host->alerts() : logAlerts();
    const char* message = lua_tostring(L, 1);
    alerts.scriptLog(message ? message : "(null)");
    lua_Debug ar;
    for (int level = 0; lua_getstack(L, level, &ar); level++) {
        lua_getinfo(L, "nSlf", &ar);
        const bool hostFrame = lua_tocfunction(L, -1) == runJob;
        lua_pop(L, 1);
        if (hostFrame) break; // the host's own protected frame is not the script's
        alerts.scriptLog(std::string(ar.source) + ":" + std::to_string(ar.currentline) + " " +
                         (ar.name ? ar.name : "(null)"));
    }
    return 1;
}

// A call prepared and made inside lua_cpcall, so that pushing the function
// and its arguments may raise errors (memory) without leaving protected mode.
struct Job {
    const std::function<int(lua_State*)>* prepare = nullptr; // returns nargs, or -status
    int nresults = 0;
    int status = 0;
    bool prepared = false;
    std::optional<std::string> message;
};

int runJob(lua_State* L) {
    Job* job = static_cast<Job*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    lua_getfield(L, LUA_REGISTRYINDEX, kHandlerKey);
    const int nargs = (*job->prepare)(L);
    if (nargs < 0) {
        job->status = -nargs;
        job->message = valueAsString(L, -1);
        return 0;
    }
    job->prepared = true;
    job->status = lua_pcall(L, nargs, job->nresults, 1);
    if (job->status != 0) job->message = valueAsString(L, -1);
    return 0;
}

int runFunction(lua_State* L) {
    auto* f = static_cast<const std::function<void(lua_State*)>*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    (*f)(L);
    return 0;
}

} // namespace

Lua::Lua(ScriptAlerts* alerts) : Lua(ResourcePaths::pensDir(), ResourcePaths::libDir(), alerts) {}

Lua::Lua(const std::string& pensDir, const std::string& libDir, ScriptAlerts* alerts)
    : _alerts(alerts) {
    _budget.setOwner(this);
    L = _budget.newState();
    VIMO_ASSERT(L != nullptr);
    loadLibrary(pensDir, libDir);
}

Lua::~Lua() {
    lua_close(L);
    _objects.clear();
}

std::unique_ptr<Lua> Lua::luaRunningFile(const std::string& path, ScriptAlerts* alerts) {
    auto lua = std::make_unique<Lua>(alerts);
    lua->runFile(path);
    return lua;
}

std::unique_ptr<Lua> Lua::luaRunningFile(const std::string& path, const std::string& pensDir,
                                         const std::string& libDir, ScriptAlerts* alerts) {
    auto lua = std::make_unique<Lua>(pensDir, libDir, alerts);
    lua->runFile(path);
    return lua;
}

std::string Lua::searchPath(const std::string& pensDir, const std::string& libDir) {
    return pensDir + "/?.lua;" + pensDir + "/?;" + libDir + "/?.lua;" + libDir + "/?";
}

void Lua::loadLibrary(const std::string& pensDir, const std::string& libDir) {
    const bool opened = protect([&](lua_State* S) {
        lua_pushstring(S, searchPath(pensDir, libDir).c_str());
        lua_setfield(S, LUA_GLOBALSINDEX, "LUA_PATH");
        LuaSandbox::open(S, {pensDir, libDir});
        lua_pushcfunction(S, errorHandler);
        lua_setfield(S, LUA_REGISTRYINDEX, kHandlerKey);
        if (gLibraryExtension) gLibraryExtension(S);
    });
    VIMO_ASSERT(opened);
}

bool Lua::protect(const std::function<void(lua_State*)>& f) {
    const int status = lua_cpcall(L, runFunction, const_cast<std::function<void(lua_State*)>*>(&f));
    if (status == 0) return true;
    qWarning("Lua: %s", valueAsString(L, -1).value_or("(error object is not a string)").c_str());
    lua_pop(L, 1);
    return false;
}

void Lua::callStarted() {
    _budget.begin(L);
}

void Lua::callEnded() {
    _budget.end();
    if (!_budget.running()) _objects.endEvent();
}

void Lua::runFile(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const std::function<int(lua_State*)> prepare = [&](lua_State* S) {
        LuaSandbox::setScriptFolder(S, folder.empty() ? "." : folder);
        const int status = LuaSandbox::loadFile(S, path);
        return status == 0 ? 0 : -status;
    };
    Job job;
    job.prepare = &prepare;
    job.nresults = 1;
    lua_settop(L, 0);
    callStarted();
    const int status = lua_cpcall(L, runJob, &job);
    callEnded();
    if (status != 0) { // failed while loading
        job.message = popString();
        job.status = status;
    }
    lua_settop(L, 0);
    if (!job.prepared)
        error(Localization::localizedString("Compile error"), job.message.value_or(""));
    else if (isRuntimeFailure(job.status))
        error(Localization::localizedString("Runtime error"), job.message.value_or(""));
}

int Lua::call(const std::string& function) {
    return callFunction(function, nullptr);
}

int Lua::callFunction(const std::string& function, const std::function<int(lua_State*)>& pushArgs) {
    const std::function<int(lua_State*)> prepare = [&](lua_State* S) {
        pushGlobal(S, function);
        return pushArgs ? pushArgs(S) : 0;
    };
    Job job;
    job.prepare = &prepare;
    lua_settop(L, 0);
    callStarted();
    const int status = lua_cpcall(L, runJob, &job);
    callEnded();
    if (status != 0) { // failed while pushing the arguments
        job.message = popString();
        job.status = status;
    }
    lua_settop(L, 0);
    if (isRuntimeFailure(job.status))
        error(Localization::localizedString("Runtime error"), job.message.value_or(""));
    return job.status;
}

int Lua::pcallWithArgs(int nargs, int nresults) {
    const int functionIndex = lua_gettop(L) - nargs;
    VIMO_ASSERT(functionIndex >= 1);
    lua_getfield(L, LUA_REGISTRYINDEX, kHandlerKey);
    lua_insert(L, functionIndex);
    callStarted();
    const int status = lua_pcall(L, nargs, nresults, functionIndex);
    callEnded();
    if (isRuntimeFailure(status))
        error(Localization::localizedString("Runtime error"), popString().value_or(""));
    lua_remove(L, functionIndex);
    return status;
}

void Lua::error(const std::string& title, const std::string& message) {
    alerts().scriptError(title, message);
}

std::optional<std::string> Lua::popString() {
    if (lua_gettop(L) == 0) return std::nullopt;
    std::optional<std::string> s = valueAsString(L, -1);
    lua_pop(L, 1);
    return s;
}

std::optional<std::string> Lua::getGlobalString(const std::string& name) {
    std::optional<std::string> result;
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        pushGlobal(S, name);
        result = valueAsString(S, -1);
    });
    return result;
}

std::optional<std::string> Lua::getGlobalStringLocalized(const std::string& name) {
    std::optional<std::string> key = getGlobalString(name);
    if (!key) return std::nullopt;
    return Localization::localizedString(*key, Localization::kLuaTable);
}

bool Lua::getGlobalBoolean(const std::string& name, bool defaultValue) {
    bool result = defaultValue;
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        pushGlobal(S, name);
        if (lua_isboolean(S, -1)) result = lua_toboolean(S, -1) != 0;
    });
    return result;
}

int Lua::getGlobalType(const std::string& name) {
    int type = LUA_TNIL;
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        pushGlobal(S, name);
        type = lua_type(S, -1);
    });
    return type;
}

float Lua::getGlobalNumber(const std::string& name, float defaultValue) {
    float result = defaultValue;
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        pushGlobal(S, name);
        if (lua_isnumber(S, -1)) result = static_cast<float>(lua_tonumber(S, -1));
    });
    return result;
}

std::vector<std::string> Lua::getGlobalStringArray(const std::string& name) {
    std::vector<std::string> result;
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        pushGlobal(S, name);
        if (!lua_istable(S, -1)) return;
        for (int i = 1;; i++) {
            lua_rawgeti(S, -1, i);
            std::optional<std::string> item = valueAsString(S, -1);
            lua_pop(S, 1);
            if (!item) break;
            result.push_back(std::move(*item));
        }
    });
    return result;
}

void Lua::setGlobal(const std::string& name, const std::string& value) {
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        lua_pushlstring(S, name.data(), name.size());
        lua_pushlstring(S, value.data(), value.size());
        lua_rawset(S, LUA_GLOBALSINDEX);
    });
}

void Lua::setGlobal(const std::string& name, float value) {
    lua_settop(L, 0);
    protect([&](lua_State* S) {
        lua_pushlstring(S, name.data(), name.size());
        lua_pushnumber(S, static_cast<lua_Number>(value));
        lua_rawset(S, LUA_GLOBALSINDEX);
    });
}

Lua::Context& Lua::context() {
    static Context theContext;
    return theContext;
}

void Lua::setContextView(ToolView* view, Pen* pen) {
    context().view = view;
    context().pen = pen;
}

ToolView* Lua::contextView() {
    return context().view;
}

void Lua::setDefaultAlerts(ScriptAlerts* alerts) {
    gDefaultAlerts = alerts;
}

void Lua::setLibraryExtension(void (*registerFunctions)(lua_State*)) {
    gLibraryExtension = registerFunctions;
}

ScriptAlerts& Lua::alerts() const {
    if (_alerts) return *_alerts;
    return gDefaultAlerts ? *gDefaultAlerts : logAlerts();
}

Lua* Lua::fromState(lua_State* state) {
    return static_cast<Lua*>(LuaBudget::of(state)->owner());
}
