-- A fine grey line for sketching.
name = "Pencil"
key = "n"
icon = "pencil_icon"
icon_position = 2
menu_position = 20

color = "3c3c3c"
radius = 1
opacity = 0.85
mode = "normal"
