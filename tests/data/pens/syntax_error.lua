name = "Broken"
function pen_down(point
  x = 1
end
