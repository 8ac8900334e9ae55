-- A pen written for the older language: table.getn, implicit "arg" in
-- vararg functions, string.gfind, math.mod, and require through LUA_PATH.
require "helper"

name = "Old Style"
key = "shift-o"

local function count(...)
  return arg.n
end

local words = {}
for w in string.gfind("one two three", "%a+") do
  table.insert(words, w)
end

word_count = table.getn(words)
vararg_count = count("a", "b", "c", "d")
remainder = math.mod(17, 5)
helper_answer = helper.answer()
helper_name = helper.loaded_as

function pen_down(point, radius)
  touched = (touched or 0) + 1
end
