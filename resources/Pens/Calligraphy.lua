-- A flat nib held at a fixed angle: strokes are broad across the nib and
-- thin along it. The nib's width follows the pressure.
require "penlib"

name = "Calligraphy"
key = "shift-c"
icon = "calligraphy_icon"
icon_position = 7
menu_position = 110
submenu = "Custom Pens"
custom_pen = true

color = "202040"
radius = 8
opacity = 1
mode = "normal"

parameters = { "angle", "thinnest" }
angle = 40
angle_min = 0
angle_max = 180
thinnest = 20 -- percent of the nib at the lightest touch
thinnest_min = 5
thinnest_max = 100

local path, last, last_r

local function nib(r)
  local full = get_pen_radius() / scale()
  local least = full * thinnest / 100
  return math.max(least, r)
end

function pen_down(p, r)
  path = retain(bezier_path())
  last, last_r = p, nib(r) -- r is 0 at pen-down: the thinnest nib
end

function pen_move(p, r)
  local band = bezier_path()
  local a = math.rad(angle)
  r = nib(r)
  -- Bands at the old and new width, so a change of pressure tapers smoothly.
  penlib.append_nib_band(band, last, p, (last_r + r) / 2, a)
  penlib.append_nib_band(path, last, p, (last_r + r) / 2, a)
  preview_fill(band)
  last, last_r = p, r
end

function pen_up()
  path = penlib.add_fill_and_release(path)
end
