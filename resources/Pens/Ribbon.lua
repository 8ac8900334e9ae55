-- A ribbon that twists as it travels: a flat nib whose angle turns with the
-- distance drawn, so the band narrows and widens like a turning strip of
-- cloth. "twist" is the turn in degrees per 100 units, "width" the ribbon's
-- width as a multiple of the pen radius.
require "penlib"

name = "Ribbon"
key = "shift-r"
icon = "ribbon_icon"
icon_position = 12
menu_position = 130
submenu = "Custom Pens"
custom_pen = true

color = "8e24aa"
radius = 6
opacity = 0.85
mode = "normal"

parameters = { "twist", "width" }
twist = 90
twist_min = 0
twist_max = 360
width = 3
width_min = 1
width_max = 5

local path, last, travelled

function pen_down(p, r)
  path = retain(bezier_path())
  last, travelled = p, 0
end

function pen_move(p, r)
  local dx, dy = p.x - last.x, p.y - last.y
  local step = math.sqrt(dx * dx + dy * dy)
  if step == 0 then return end
  local half = width * get_pen_radius() / scale() / 2
  local a0 = math.rad(twist * travelled / 100)
  travelled = travelled + step
  local a1 = math.rad(twist * travelled / 100)
  local band = bezier_path()
  local n0 = { x = half * math.cos(a0), y = half * math.sin(a0) }
  local n1 = { x = half * math.cos(a1), y = half * math.sin(a1) }
  local quad = {
    { x = last.x + n0.x, y = last.y + n0.y }, { x = p.x + n1.x, y = p.y + n1.y },
    { x = p.x - n1.x, y = p.y - n1.y }, { x = last.x - n0.x, y = last.y - n0.y } }
  penlib.append_quad(band, quad[1], quad[2], quad[3], quad[4])
  penlib.append_quad(path, quad[1], quad[2], quad[3], quad[4])
  preview_fill(band)
  last = p
end

function pen_up()
  path = penlib.add_fill_and_release(path)
end
