-- Helpers shared by the shipped pen types: geometry of dragged shapes,
-- nib outlines and a small repeatable random generator.

penlib = {}

-- The rectangle spanned by two corners; with square set, a square whose side
-- is the longer of the two extents, growing from a toward b.
function penlib.rect_from_corners(a, b, square)
  local dx, dy = b.x - a.x, b.y - a.y
  if square then
    local side = math.max(math.abs(dx), math.abs(dy))
    if dx < 0 then dx = -side else dx = side end
    if dy < 0 then dy = -side else dy = side end
  end
  return { x = math.min(a.x, a.x + dx), y = math.min(a.y, a.y + dy),
           w = math.abs(dx), h = math.abs(dy) }
end

-- b moved onto the nearest direction from a that is a multiple of step
-- degrees, keeping its distance from a.
function penlib.constrain_angle(a, b, step)
  local dx, dy = b.x - a.x, b.y - a.y
  local length = math.sqrt(dx * dx + dy * dy)
  if length == 0 then return { x = b.x, y = b.y } end
  local unit = math.rad(step)
  local angle = math.floor(math.atan2(dy, dx) / unit + 0.5) * unit
  return { x = a.x + length * math.cos(angle), y = a.y + length * math.sin(angle) }
end

function penlib.clamp(v, lo, hi)
  if v < lo then return lo end
  if v > hi then return hi end
  return v
end

-- Appends the quadrilateral a, b, c, d to path as a closed subpath turning
-- counter-clockwise, so that overlapping pieces add up under a non-zero fill
-- instead of cancelling.
function penlib.append_quad(path, a, b, c, d)
  local area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y)
             + (c.x - a.x) * (d.y - a.y) - (d.x - a.x) * (c.y - a.y)
  if area < 0 then a, b, c, d = d, c, b, a end
  move_to_point(path, a)
  line_to_point(path, b)
  line_to_point(path, c)
  line_to_point(path, d)
  close_path(path)
end

-- The band swept by a straight nib of half-length r at angle (radians) from
-- p to q, appended to path.
function penlib.append_nib_band(path, p, q, r, angle)
  local nx, ny = r * math.cos(angle), r * math.sin(angle)
  penlib.append_quad(path,
    { x = p.x + nx, y = p.y + ny }, { x = q.x + nx, y = q.y + ny },
    { x = q.x - nx, y = q.y - ny }, { x = p.x - nx, y = p.y - ny })
end

-- A generator of numbers in [0, 1) that gives the same sequence for the same
-- seed, so that a sprayed stroke looks the same when drawn again.
local function modulo(a, b)
  return a - math.floor(a / b) * b
end

function penlib.random(seed)
  local state = modulo(math.floor(seed), 2147483647)
  if state <= 0 then state = state + 2147483646 end
  return function()
    state = modulo(state * 16807, 2147483647)
    return (state - 1) / 2147483646
  end
end

-- Makes the calling script a pen that drags a shape from corner to corner:
-- defines its pen_down, pen_move and pen_up. append(path, rect) adds the
-- shape for the dragged rectangle (shift squares it); the script's global
-- "filled" chooses a filled shape over an outline of the pen's width.
function penlib.corner_shape_pen(append)
  local start, shape

  function pen_down(p, r)
    start, shape = p, nil
  end

  function pen_move(p, r)
    if shape then release(shape) end
    shape = retain(bezier_path())
    append(shape, penlib.rect_from_corners(start, p, shift_down()))
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
end

-- Adds a retained path as a filled stroke and releases it; nil is ignored.
-- Returns nil, for "path = penlib.add_fill_and_release(path)".
function penlib.add_fill_and_release(path)
  if path then
    add_fill(path)
    release(path)
  end
  return nil
end

return penlib
