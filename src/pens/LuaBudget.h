#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

struct lua_State;
struct lua_Debug;

// The limits of one Lua state, so that a pen script can neither hang nor
// crash the program:
//  - memory: the state's allocator refuses to grow past a limit, which Lua
//    turns into a "not enough memory" error;
//  - time: a count hook checks a deadline set at the start of every outermost
//    call into the script; once it has passed, the hook fires on every
//    instruction and raises an error each time, so loops inside pcall, xpcall
//    handlers or coroutines cannot carry on (the sandbox's pcall wrappers
//    re-raise the error as well);
//  - C stack: C recursion through metamethods, pattern matching or coroutines
//    ends with a "C stack overflow" error well before the thread's stack does.
// The budget is the allocator's user data, so every thread of the state
// finds it with of().
class LuaBudget {
public:
    static constexpr std::size_t kDefaultMemoryLimit = std::size_t(64) << 20;
    static constexpr std::chrono::milliseconds kDefaultTimeLimit{500};
    static constexpr std::size_t kCStackLimit = std::size_t(1) << 20;
    static constexpr int kHookInterval = 1000; // instructions between clock checks
    static constexpr const char* kTimeoutMessage = "script ran too long and was stopped";

    LuaBudget() = default;
    LuaBudget(const LuaBudget&) = delete;
    LuaBudget& operator=(const LuaBudget&) = delete;

    // A new state allocating through this budget (null if even that fails).
    lua_State* newState();
    static LuaBudget* of(lua_State* L);
    // The object that owns the state (the Lua host), for callbacks that only
    // get the state.
    void setOwner(void* owner) { _owner = owner; }
    void* owner() const { return _owner; }

    void setMemoryLimit(std::size_t bytes) { _memory_limit = bytes; }
    std::size_t memoryLimit() const { return _memory_limit; }
    std::size_t memoryInUse() const { return _memory_in_use; }
    void setTimeLimit(std::chrono::milliseconds limit) { _time_limit = limit; }
    std::chrono::milliseconds timeLimit() const { return _time_limit; }

    // Brackets a call into the script. The outermost begin() starts the clock,
    // notes the C stack position and installs the hook on L; nested calls
    // share the outer budget.
    void begin(lua_State* L);
    void end();
    bool running() const { return _depth > 0; }

    // True once the deadline of the running call has passed (checks the clock).
    bool overBudget();
    bool timedOut() const { return _timed_out; }

    // Raise a Lua error when the running call is out of time or when the C
    // stack has grown too deep; otherwise return.
    static void checkTime(lua_State* L);
    static void checkCStack(lua_State* L);
    [[noreturn]] static void raiseTimeout(lua_State* L);

private:
    static void* allocate(void* ud, void* ptr, std::size_t osize, std::size_t nsize);
    static void hook(lua_State* L, lua_Debug* ar);

    std::size_t _memory_limit = kDefaultMemoryLimit;
    std::size_t _memory_in_use = 0;
    std::chrono::milliseconds _time_limit = kDefaultTimeLimit;
    std::chrono::steady_clock::time_point _deadline{};
    bool _timed_out = false;
    int _depth = 0;
    void* _owner = nullptr;
    std::uintptr_t _stack_base = 0;
};
