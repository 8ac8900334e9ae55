-- An ellipse inside the dragged rectangle; shift makes it a circle. The
-- "filled" switch fills it instead of drawing its outline.
require "penlib"

name = "Ellipse"
key = "o"
icon = "ellipse_icon"
icon_position = 11
menu_position = 230
submenu = "Shapes"
custom_pen = true

color = "000000"
radius = 1.5
opacity = 1
mode = "normal"

parameters = { "filled" }
filled = 0
filled_min = 0
filled_max = 1

local start, shape

function pen_down(p, r)
  start, shape = p, nil
end

function pen_move(p, r)
  if shape then release(shape) end
  shape = retain(bezier_path())
  append_bezier_path_with_oval_in_rect(shape, penlib.rect_from_corners(start, p, shift_down()))
  set_line_width(shape, 2 * get_pen_radius() / scale())
  if filled >= 0.5 then fill(shape) else stroke(shape) end
end

function pen_up()
  if shape then
    if filled >= 0.5 then add_fill(shape) else add_stroke(shape) end
    release(shape)
    shape = nil
  end
end
