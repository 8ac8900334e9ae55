#pragma once

struct lua_State;

// Lua's string patterns (string.find, string.match, string.gmatch and its
// older name string.gfind, string.gsub) with the language's usual semantics,
// but on a matcher that cannot run away in C: it checks the state's time
// budget as it works, and its recursion is limited, so a pathological pattern
// ends with a Lua error ("pattern too complex" or the budget's timeout)
// instead of hanging or overflowing the stack. Plain finds are bounded the
// same way.
class LuaPatterns {
public:
    static constexpr int kMaxDepth = 200;           // nesting of the matcher
    static constexpr long kClockInterval = 1 << 14; // matcher steps between clock checks

    // Replaces find, match, gmatch, gfind and gsub in the table at the top of
    // the stack (the string library).
    static void install(lua_State* L);
};
