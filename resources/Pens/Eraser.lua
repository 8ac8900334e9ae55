-- Takes the picture away. The tablet's eraser end switches to the pen type
-- of this name.
name = "Eraser"
key = "e"
icon = "eraser_icon"
icon_position = 6
menu_position = 60

color = "ffffff"
radius = 10
opacity = 1
mode = "erase"
