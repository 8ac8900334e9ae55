#pragma once

#include "model/BezierPath.h"
#include "pens/LuaBudget.h"
#include "pens/LuaObjectRegistry.h"
#include "raster/Geometry.h"
#include "tools/ToolEvent.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct lua_State;
class Pen;
class ScriptAlerts;
class ToolView;

// One pen type script in a Lua 5.1 state of its own. The host loads the
// script, reads and writes its globals for the rest of the program (names,
// keys, settings, custom parameters), calls its functions under an error
// handler and shows script faults through ScriptAlerts: "Compile error" when
// a script cannot be loaded, "Runtime error" when it fails while running.
//
// The state is sandboxed (LuaSandbox) and limited (LuaBudget): a script can
// neither touch files outside the pen folders nor hang or crash the program.
// Getters and setters use raw access to the globals, so they never run
// script code and never fail: a missing or mistyped global gives nothing,
// the default or an empty list.
class Lua {
public:
    // The record that tells the script functions which view and pen tool they
    // draw for; one for the whole program, set before every call into a pen
    // script.
    struct Context {
        ToolView* view = nullptr; // not owned
        Pen* pen = nullptr;       // not owned
        ToolEvent event;          // the event of the current callback
        float pressure = 0;       // 0 at pen-down and pen-up, the event's at a move
        Rect dirty_rect;          // view area to redraw around a callback
        Rect preview_rect;        // area of the current canvas preview
        // Paths queued by "stroke" and "fill" for the next redraw of the view,
        // and for each whether it is stroked (true) or filled.
        std::vector<BezierPath> queued_paths;
        std::vector<bool> queued_is_stroke;
    };

    // The folders come from ResourcePaths ("Pens" and "Lib").
    explicit Lua(ScriptAlerts* alerts = nullptr);
    Lua(const std::string& pensDir, const std::string& libDir, ScriptAlerts* alerts = nullptr);
    ~Lua();
    Lua(const Lua&) = delete;
    Lua& operator=(const Lua&) = delete;

    // A new state on which runFile() has run (also when the script failed).
    static std::unique_ptr<Lua> luaRunningFile(const std::string& path,
                                               ScriptAlerts* alerts = nullptr);
    static std::unique_ptr<Lua> luaRunningFile(const std::string& path, const std::string& pensDir,
                                               const std::string& libDir,
                                               ScriptAlerts* alerts = nullptr);

    // Loads the file as a chunk ("Compile error" if that fails) and runs it.
    void runFile(const std::string& path);

    // A string or a number (converted) as text, else nothing.
    std::optional<std::string> getGlobalString(const std::string& name);
    // getGlobalString() looked up in the "Lua" translation table.
    std::optional<std::string> getGlobalStringLocalized(const std::string& name);
    bool getGlobalBoolean(const std::string& name, bool defaultValue);
    // The Lua type of the global (LUA_TNIL when missing).
    int getGlobalType(const std::string& name);
    // A number or a string that reads as one, else the default.
    float getGlobalNumber(const std::string& name, float defaultValue = 0);
    // The strings (or numbers) at 1, 2, 3, ... up to the first other value.
    std::vector<std::string> getGlobalStringArray(const std::string& name);
    void setGlobal(const std::string& name, const std::string& value);
    void setGlobal(const std::string& name, float value);

    // Calls the global function with no arguments and no results; returns the
    // status (0 when it ran). A missing function is a "Runtime error".
    int call(const std::string& function);
    // Calls the global function with the arguments that pushArgs pushes
    // (returning their count). pushArgs runs in protected mode, so it may
    // allocate freely. Returns the status as call().
    int callFunction(const std::string& function, const std::function<int(lua_State*)>& pushArgs);

    static void setContextView(ToolView* view, Pen* pen);
    static ToolView* contextView();
    static Context& context();

    // Where faults go when a state is made without its own ScriptAlerts
    // (null: the program's log).
    static void setDefaultAlerts(ScriptAlerts* alerts);
    // Registers further globals (the pen drawing functions) into every state
    // made after this call, after the libraries are open.
    static void setLibraryExtension(void (*registerFunctions)(lua_State*));

    // The search path stored in "LUA_PATH": the folders' "?.lua" and "?"
    // templates, pens first.
    static std::string searchPath(const std::string& pensDir, const std::string& libDir);

    // Internal.
    // The function and nargs arguments are on the stack: calls it under the
    // error handler and the time budget; a run-time, memory or error-handler
    // failure shows the "Runtime error" alert. Returns the status. Whatever
    // pushed the arguments must not raise errors outside protected mode.
    int pcallWithArgs(int nargs, int nresults);
    void error(const std::string& title, const std::string& message);
    // The top of the stack as text (string or number), popped; else nothing.
    std::optional<std::string> popString();

    lua_State* state() const { return L; }
    LuaBudget& budget() { return _budget; }
    LuaObjectRegistry& objects() { return _objects; }
    ScriptAlerts& alerts() const;
    static Lua* fromState(lua_State* state);

private:
    void loadLibrary(const std::string& pensDir, const std::string& libDir);
    // Runs f in protected mode; false if it raised an error (reported through
    // the log, since only the host's own bookkeeping runs this way).
    bool protect(const std::function<void(lua_State*)>& f);
    void callStarted();
    void callEnded();

    LuaBudget _budget;
    LuaObjectRegistry _objects;
    ScriptAlerts* _alerts = nullptr;
    lua_State* L = nullptr;
};
