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

penlib.corner_shape_pen(append_bezier_path_with_oval_in_rect)
