name = "Custom"
custom_pen = true
calls = ""
function pen_down(p, r)
  calls = calls .. string.format("down(%g,%g,%g,%g)", p.x, p.y, r, pressure())
end
function pen_move(p, r)
  calls = calls .. string.format("move(%g,%g,%g,%g,%s)", p.x, p.y, r, pressure(),
                                 tostring(shift_down()))
  if p.x > 1000 then error("too far") end
end
function pen_up()
  calls = calls .. string.format("up(%g)", pressure())
end
