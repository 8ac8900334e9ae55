-- A spray of fine dots around the pen, denser and wider with pressure.
require "penlib"

name = "Airbrush"
key = "shift-a"
icon = "airbrush_icon"
icon_position = 8
menu_position = 120
submenu = "Custom Pens"
custom_pen = true

color = "2e7d32"
radius = 12
opacity = 0.7
mode = "normal"

parameters = { "density", "dot_size" }
density = 24 -- dots per move at full pressure
density_min = 4
density_max = 80
dot_size = 0.8
dot_size_min = 0.3
dot_size_max = 3

local path, random, spacing_left

local function spray(p, pressure)
  local dots = bezier_path()
  local spread = get_pen_radius() / scale() * (0.4 + 0.6 * pressure)
  local size = dot_size / scale()
  local count = math.max(1, math.floor(density * pressure + 0.5))
  for i = 1, count do
    -- Uniform over the disc, with a few stragglers beyond it.
    local angle = 2 * math.pi * random()
    local d = spread * math.sqrt(random()) * (1 + 0.3 * random() * random())
    local x, y = p.x + d * math.cos(angle), p.y + d * math.sin(angle)
    local rect = { x = x - size, y = y - size, w = 2 * size, h = 2 * size }
    append_bezier_path_with_oval_in_rect(dots, rect)
    append_bezier_path_with_oval_in_rect(path, rect)
  end
  preview_fill(dots)
end

function pen_down(p, r)
  path = retain(bezier_path())
  random = penlib.random(p.x * 7919 + p.y * 104729 + 1)
end

function pen_move(p, r)
  spray(p, pressure())
end

function pen_up()
  path = penlib.add_fill_and_release(path)
end
