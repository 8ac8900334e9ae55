-- The ordinary pen: a round nib whose width follows the pressure.
name = "Pen"
key = "p"
icon = "pen_icon"
icon_position = 1
menu_position = 10
default = true

color = "000000"
radius = 3
opacity = 1
mode = "normal"
