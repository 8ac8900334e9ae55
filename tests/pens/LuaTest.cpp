#include "pens/Lua.h"
#include "LuaTestSupport.h"

#include <lua.hpp>

#include <gtest/gtest.h>

namespace {

using Strings = std::vector<std::string>;

class LuaTest : public testing::Test {
protected:
    std::unique_ptr<Lua> running(const std::string& file) {
        return Lua::luaRunningFile(testPen(file), testPensDir(), testLibDir(), &alerts);
    }
    RecordingAlerts alerts;
};

TEST_F(LuaTest, GettersFollowTheGlobalsTypesAndNeverRunScriptCode) {
    auto lua = running("settings.lua");
    EXPECT_TRUE(alerts.alerts.empty());
    EXPECT_EQ(lua->getGlobalString("numeric_name"), "12");
    EXPECT_FALSE(lua->getGlobalString("flag"));
    EXPECT_TRUE(lua->getGlobalBoolean("flag_number", true)); // a number is not a boolean
    EXPECT_EQ(lua->getGlobalNumber("opacity", 1), 0.25f);    // numeric string
    EXPECT_EQ(lua->getGlobalNumber("name", 3), 3.0f);
    EXPECT_EQ(lua->getGlobalStringArray("parameters"), (Strings{"width", "3", "size"}));
    EXPECT_EQ(lua->getGlobalStringArray("mixed"), (Strings{"a"}));

    // Metamethods on the globals table are not consulted by the host.
    ASSERT_EQ(runChunk(*lua, "setmetatable(_G, {__index = function() while true do end end,"
                             " __newindex = function() error('no') end})"),
              0);
    EXPECT_FALSE(lua->getGlobalString("nothing_here"));
    lua->setGlobal("fresh", 1.0f);
    EXPECT_EQ(lua->getGlobalNumber("fresh"), 1.0f);
    EXPECT_TRUE(alerts.alerts.empty());
}

TEST_F(LuaTest, RuntimeErrorShowsAlertAndLogsTheStack) {
    auto lua = running("runtime.lua");
    alerts.clear();
    EXPECT_EQ(lua->call("outer"), LUA_ERRRUN);
    ASSERT_EQ(alerts.alerts.size(), 1u);
    EXPECT_EQ(alerts.alerts[0].title, "Runtime error");
    std::string where = "@"; // appended, not prefixed: GCC 12 misreports the prefix form
    where += testPen("runtime.lua");
    const std::string message = testPen("runtime.lua") + ":4: bad value 100%";
    EXPECT_EQ(alerts.alerts[0].message, message); // the percent sign is kept as is
    EXPECT_EQ(alerts.log, (Strings{message, "=[C]:-1 (null)", "=[C]:-1 error", where + ":4 inner",
                                   where + ":8 (null)"}));

    alerts.clear(); // an error value that is not a string: an empty message
    EXPECT_EQ(lua->call("throw_table"), LUA_ERRRUN);
    ASSERT_EQ(alerts.alerts.size(), 1u);
    EXPECT_EQ(alerts.alerts[0].message, "");
}

// Older pens use table.getn, the implicit "arg", string.gfind, math.mod and
// require through the LUA_PATH global, which lists the pen folder, then Lib.
TEST_F(LuaTest, OldStylePenRuns) {
    EXPECT_EQ(Lua("/r/Pens", "/r/Lib", &alerts).getGlobalString("LUA_PATH"),
              "/r/Pens/?.lua;/r/Pens/?;/r/Lib/?.lua;/r/Lib/?");
    auto lua = running("old_style.lua");
    EXPECT_TRUE(alerts.alerts.empty()) << alerts.alerts[0].message;
    EXPECT_EQ(lua->getGlobalNumber("word_count"), 3.0f);
    EXPECT_EQ(lua->getGlobalNumber("vararg_count"), 4.0f);
    EXPECT_EQ(lua->getGlobalNumber("remainder"), 2.0f);
    EXPECT_EQ(lua->getGlobalNumber("helper_answer"), 42.0f);
    EXPECT_EQ(lua->getGlobalString("helper_name"), "helper");

    // A second require of the same module does not run it again.
    EXPECT_EQ(runChunk(*lua, "require 'helper'"), 0);
    EXPECT_EQ(lua->getGlobalNumber("load_count"), 1.0f);
}

TEST_F(LuaTest, ScriptsCannotReachFilesOrNativeCode) {
    auto lua = running("settings.lua");
    const std::string secret = VIMO_TEST_DATA_DIR "/outside/secret.lua";
    const std::string helper = testLibDir() + "/helper.lua";
    const char* checks[] = {
        "io == nil and os == nil and debug == nil and package == nil",
        "loadlib == nil and newproxy == nil and string.dump == nil",
        "loadstring('\\27Lua') == nil",
        "select(2, loadstring('\\27Lua')):find('precompiled') ~= nil",
        "load(function() return nil end) ~= nil",
        "not pcall(collectgarbage, 'stop') and collectgarbage('count') > 0",
        "not pcall(dofile, '../outside/secret.lua')",
        "not pcall(dofile, SECRET) and loadfile(SECRET) == nil",
        "loadfile(HELPER) ~= nil",
        "not pcall(require, '../outside/secret')",
        "(function() LUA_PATH = LUA_PATH .. ';' .. SECRET:gsub('secret', '?')"
        " return not pcall(require, 'secret') end)()",
        "secret_loaded == nil",
    };
    lua->setGlobal("SECRET", secret);
    lua->setGlobal("HELPER", helper);
    for (const char* check : checks) {
        ASSERT_EQ(runChunk(*lua, std::string("ok = ") + check), 0) << check;
        EXPECT_TRUE(lua->getGlobalBoolean("ok", false)) << check;
    }
    EXPECT_TRUE(alerts.alerts.empty());
}

// The host's pattern functions agree with Lua's own, results and error
// messages alike: find, match, gmatch and gsub on every subject and pattern,
// then the other arguments and forms of replacement.
TEST(LuaPatterns, AgreeWithTheStandardLibrary) {
    const std::string chunk = R"lua(
local results = {}
local function show(...)
  local out = {}
  for i = 1, select('#', ...) do out[i] = type((select(i, ...))) .. ':' .. tostring((select(i, ...))) end
  return table.concat(out, ',')
end
local function try(name, f, ...) results[#results + 1] = name .. ' -> ' .. show(pcall(f, ...)) end
local function collect(s, p)
  local r = {}
  for a, b in string.gmatch(s, p) do r[#r + 1] = tostring(a) .. '/' .. tostring(b) end
  return table.concat(r, '|')
end
for _, c in ipairs({{'hello', 'l+'}, {'abc', '^b'}, {'abc', ''}, {'abc', '()'},
    {'key = value', '(%w+)%s*=%s*(%w+)'}, {'f(a(b)c)d', '%b()'}, {'THE (quick) fox', '%f[%a]%a+'},
    {'abc', 'a(.-)c'}, {'aaa', 'a-'}, {'x-y', '[a-]+'}, {'x]y', '[]]'}, {'hello hello', '(h%a+) %1'},
    {'a\0b', '%z'}, {'x', '('}, {'x', '%'}, {'x', '[a'}, {'x', '%1'}, {'x', 'x)'}, {'x', '%b'}}) do
  try('find ' .. c[2], string.find, c[1], c[2])
  try('match ' .. c[2], string.match, c[1], c[2])
  try('gmatch ' .. c[2], collect, c[1], c[2])
  try('gsub ' .. c[2], string.gsub, c[1], c[2], '<%0>')
end
try('find init', string.find, 'hello', 'l', -2) try('find past end', string.find, 'hello', '', 10)
try('find plain', string.find, 'a.b', '.', 1, true)
try('rep', function() return string.rep('ab', 3), string.rep('x', 0), string.rep('', 5) end)
try('gsub capture', string.gsub, 'hello world', '(o)', '[%1]')
try('gsub limit', string.gsub, 'hello world', '%w+', '<%0>', 1)
try('gsub table', string.gsub, 'abc', '%w', {a = 1, b = true})
try('gsub function', string.gsub, 'abc', '%w', function(c) if c ~= 'b' then return c:upper() end end)
try('gsub bad capture', string.gsub, 'abc', 'b', '%2') try('gsub bad escape', string.gsub, 'abc', 'b', '%x')
try('gsub percent', string.gsub, 'abc', '(b)', '%%') try('gsub false', string.gsub, 'x', 'x', false)
return table.concat(results, '\n')
)lua";
    auto evaluate = [&chunk](lua_State* L) {
        if (luaL_loadbuffer(L, chunk.data(), chunk.size(), "=test") || lua_pcall(L, 0, 1, 0))
            return std::string("failed: ") + lua_tostring(L, -1);
        std::size_t n = 0;
        const char* text = lua_tolstring(L, -1, &n);
        return std::string(text, n);
    };
    lua_State* reference = luaL_newstate();
    luaL_openlibs(reference);
    RecordingAlerts alerts;
    Lua host(testPensDir(), testLibDir(), &alerts);
    const std::string want = evaluate(reference);
    lua_close(reference);
    ASSERT_EQ(want.rfind("find l+ -> boolean:true,number:3,number:4\n", 0), 0u) << want;
    EXPECT_EQ(evaluate(host.state()), want);
}

} // namespace
