-- A library module found through LUA_PATH.
helper = {}
helper.loaded_as = _REQUIREDNAME
load_count = (load_count or 0) + 1

function helper.answer()
  return 42
end
