-- A rectangle dragged from corner to corner; shift makes it a square. The
-- "filled" switch fills it instead of drawing its outline.
require "penlib"

name = "Rectangle"
key = "r"
icon = "rectangle_icon"
icon_position = 10
menu_position = 220
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

penlib.corner_shape_pen(append_bezier_path_with_rect)
