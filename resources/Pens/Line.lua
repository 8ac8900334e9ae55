-- A straight line from where the pen went down to where it comes up. Shift
-- keeps the line at a multiple of 15 degrees.
require "penlib"

name = "Straight Line"
key = "l"
icon = "line_icon"
icon_position = 9
menu_position = 210
submenu = "Shapes"
custom_pen = true

color = "000000"
radius = 2
opacity = 1
mode = "normal"

local start, line

local function make_line(p)
  if shift_down() then p = penlib.constrain_angle(start, p, 15) end
  local path = bezier_path()
  move_to_point(path, start)
  line_to_point(path, p)
  set_line_width(path, 2 * get_pen_radius() / scale())
  return path
end

function pen_down(p, r)
  start, line = p, nil
end

function pen_move(p, r)
  line = retain(make_line(p))
  stroke(line)
end

function pen_up()
  if line then
    add_stroke(line)
    release(line)
    line = nil
  end
end
