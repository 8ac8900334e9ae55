-- Callbacks that try to hang or crash the host, one per function; "good"
-- must still run afterwards.

function good()
  good_calls = (good_calls or 0) + 1
end

function infinite_loop()
  while true do end
end

function loop_in_pcall()
  while true do
    pcall(function() while true do end end)
  end
end

function xpcall_looping_handler()
  while true do
    xpcall(function() error("first") end, function(m) while true do end end)
  end
end

function loop_in_coroutine()
  while true do
    coroutine.resume(coroutine.create(function() while true do end end))
  end
end

function loop_in_load_reader()
  while true do
    load(function() while true do end end)
  end
end

function exponential_pattern()
  return string.find(string.rep("a", 60), string.rep("a*", 30) .. "b")
end

function deep_pattern()
  return string.match(string.rep("a", 5000), string.rep("a?", 5000))
end

function gsub_with_runaway_pattern()
  return string.gsub(string.rep("x", 2000), ".-.-.-.-.-y", "")
end

function memory_bomb()
  local t = {}
  local chunk = string.rep("x", 1024 * 1024)
  local i = 0
  while true do
    i = i + 1
    t[i] = chunk .. i
  end
end

function huge_rep()
  return string.rep("x", 2 ^ 40)
end

function deep_lua_recursion()
  local function f(n) return 1 + f(n + 1) end
  return f(1)
end

function deep_metamethod_recursion()
  local t = setmetatable({}, {})
  getmetatable(t).__index = function(self, k) return self[k] end
  return t.x
end

function deep_coroutine_nesting()
  local function f() coroutine.wrap(f)() end
  f()
end

function deep_gsub_recursion()
  local function f() return (string.gsub("x", "x", f)) end
  return f()
end

function deep_tostring_recursion()
  local t = setmetatable({}, {})
  getmetatable(t).__tostring = function(self) return tostring(self) end
  return tostring(t)
end
