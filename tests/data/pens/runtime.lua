name = "Runtime"

local function inner()
  error("bad value 100%")
end

function outer()
  inner()
end

function count()
  calls = (calls or 0) + 1
end

function throw_table()
  error({})
end
