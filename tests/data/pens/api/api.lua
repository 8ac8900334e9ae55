-- A custom pen whose callbacks run the chunk the test stores in "action".
name = "Api"
custom_pen = true
color = "000000"
function pen_down(p, r) down_point, down_radius = p, r end
function pen_move(p, r) if action then action(p, r) end end
function pen_up() if up_action then up_action() end end
